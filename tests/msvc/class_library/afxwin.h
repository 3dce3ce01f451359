// The class library's application object, message box, document and view in shape only.
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

class AFX_DECLARATIONS CDC : public CObject {};
class CView;

class AFX_DECLARATIONS CDocument : public CCmdTarget {
public:
    CDocument();
    virtual ~CDocument();
    virtual void SetModifiedFlag(BOOL modified = TRUE);
    void UpdateAllViews(CView* sender, LPARAM hint = 0L, CObject* hintObject = NULL);
};

class AFX_DECLARATIONS CWnd : public CCmdTarget {};

class AFX_DECLARATIONS CView : public CWnd {
public:
    CDocument* GetDocument() const;

protected:
    CView();
    virtual ~CView();
    virtual void OnDraw(CDC* context) = 0;
};

CWinApp* __stdcall AfxGetApp();
int __stdcall AfxMessageBox(LPCTSTR text, UINT type = MB_OK, UINT helpId = 0);
int __stdcall AfxMessageBox(UINT promptId, UINT type = MB_OK, UINT helpId = UINT(-1));
