#include <afxwin.h>

#include "message_box.h"

#include <atomic>
#include <cstdio>

namespace {

std::atomic<CWinApp*> application{nullptr};

} // namespace

namespace tarvix::afx {

int printMessage(const char* text) {
    static_cast<void>(std::fprintf(stderr, "%s\n", text));
    static_cast<void>(std::fflush(stderr));
    return okButton;
}

} // namespace tarvix::afx

CWinApp::CWinApp() {
    application = this;
}

CWinApp::~CWinApp() {
    // Only if it is still this one: if there are two, the later one keeps its place.
    CWinApp* self = this;
    application.compare_exchange_strong(self, nullptr);
}

int CWinApp::DoMessageBox(LPCSTR prompt, UINT type, UINT /*promptId*/) {
    return tarvix::afx::showMessageBox(prompt == nullptr ? "" : prompt, type);
}

CWinApp* AfxGetApp() {
    return application;
}

int AfxMessageBox(LPCSTR text, UINT type, UINT helpId) {
    if (CWinApp* const app = AfxGetApp()) {
        return app->DoMessageBox(text, type, helpId);
    }
    return tarvix::afx::showMessageBox(text == nullptr ? "" : text, type);
}
