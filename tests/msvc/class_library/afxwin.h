// The class library's application object and message box in shape only.
#pragma once

#include <afx.h>
#include <afxcoll.h>

class AFX_DECLARATIONS CCmdTarget : public CObject {};

class AFX_DECLARATIONS CWinThread : public CCmdTarget {
public:
    virtual BOOL InitInstance();
    virtual int Run();
};

class AFX_DECLARATIONS CWinApp : public CWinThread {
public:
    explicit CWinApp(LPCTSTR name = NULL);
    virtual ~CWinApp();
    virtual int DoMessageBox(LPCTSTR prompt, UINT type, UINT promptId);
};

CWinApp* __stdcall AfxGetApp();
int __stdcall AfxMessageBox(LPCTSTR text, UINT type = MB_OK, UINT helpId = 0);
int __stdcall AfxMessageBox(UINT promptId, UINT type = MB_OK, UINT helpId = UINT(-1));
