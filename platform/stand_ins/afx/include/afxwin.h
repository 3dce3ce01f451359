// Stand-in for the class library's header of this name: the application object and the message box.
//
// Omitted: windows, message maps, the run of the application, buttons other than OK (on Windows
// the style is passed on to the system), help.
#pragma once

#include <afx.h>
#include <afxcoll.h>

// The application object. While one exists, the class library's messages go through its
// DoMessageBox, so a host takes them over by deriving from it. A process has at most one at a time.
class TARVIX_AFX_API CWinApp : public CObject {
public:
    CWinApp();
    ~CWinApp() override;

    // Shows prompt in a modal box titled with the executable's name and returns the button's id. On
    // a machine without a display, writes the text to standard error and returns IDOK at once.
    virtual int DoMessageBox(LPCSTR prompt, UINT type, UINT promptId);
};

// The application object, or NULL.
TARVIX_AFX_API CWinApp* AfxGetApp();

// Shows text through the application object, or in a box of the same kind if there is none.
// Blocks the calling thread, which may be any, until the box is closed.
TARVIX_AFX_API int AfxMessageBox(LPCSTR text, UINT type = MB_OK, UINT helpId = 0);
