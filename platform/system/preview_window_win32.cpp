#include "platform/system/preview_window.h"

#include <stdexcept>

struct PreviewWindow::State {
    HWND window = nullptr;
};

PreviewWindow::PreviewWindow(const std::string& title, int width, int height)
    : m_state(std::make_unique<State>()) {
    WNDCLASSA windowClass{};
    windowClass.lpfnWndProc = DefWindowProcA;
    windowClass.hInstance = GetModuleHandleA(nullptr);
    windowClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    windowClass.lpszClassName = "TarvixPreview";
    RegisterClassA(&windowClass); // fails harmlessly if it exists already
    RECT outer{0, 0, width, height};
    AdjustWindowRect(&outer, WS_OVERLAPPEDWINDOW, FALSE);
    m_state->window =
        CreateWindowA("TarvixPreview", title.c_str(), WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                      CW_USEDEFAULT, outer.right - outer.left, outer.bottom - outer.top, nullptr,
                      nullptr, windowClass.hInstance, nullptr);
    if (m_state->window == nullptr) {
        throw std::runtime_error("no display for a window");
    }
    // A call that draws into the window handles no messages meanwhile. The system must not take it
    // for hung.
    DisableProcessWindowsGhosting();
    ShowWindow(m_state->window, SW_SHOWNORMAL);
    UpdateWindow(m_state->window);
}

PreviewWindow::~PreviewWindow() {
    DestroyWindow(m_state->window);
}

HWND PreviewWindow::handle() const {
    return m_state->window;
}
