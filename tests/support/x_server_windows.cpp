// Windows has one screen, which is there all the time; windows on it are real ones.
#include "tests/support/x_server.h"

#include <array>
#include <stdexcept>

#include <windows.h>

namespace test {

XServer::XServer(int /*depth*/, AfterLastClient /*then*/) {
    if (GetSystemMetrics(SM_CXSCREEN) <= 0 || !IsWindow(GetDesktopWindow())) {
        throw std::runtime_error("there is no desktop to show windows on");
    }
}

XServer::~XServer() = default;

// The desktop cannot be ended; its windows can.
void XServer::kill() {
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM) -> BOOL {
            DestroyWindow(window);
            return TRUE;
        },
        0);
}

const cv::Vec3b XWindow::background{0x40, 0x80, 0xC0};

struct XWindow::State {
    HWND window = nullptr;
};

namespace {

void dispatchMessages() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
}

const char* windowClass() {
    static const char* const name = [] {
        const cv::Vec3b& c = XWindow::background;
        WNDCLASSA description{};
        description.lpfnWndProc = DefWindowProcA;
        description.hInstance = GetModuleHandleA(nullptr);
        description.hbrBackground = CreateSolidBrush(RGB(c[2], c[1], c[0]));
        description.lpszClassName = "TarvixTestWindow";
        if (RegisterClassA(&description) == 0) {
            throw std::runtime_error("the window class is refused");
        }
        return description.lpszClassName;
    }();
    return name;
}

} // namespace

XWindow::XWindow(int width, int height, int /*depth*/) : m_state(std::make_unique<State>()) {
    m_state->window =
        CreateWindowExA(0, windowClass(), "Tarvix test", WS_POPUP | WS_VISIBLE, 0, 0, width, height,
                        nullptr, nullptr, GetModuleHandleA(nullptr), nullptr);
    if (m_state->window == nullptr) {
        throw std::runtime_error("the window is refused: is there a display?");
    }
    UpdateWindow(m_state->window);
    dispatchMessages();
}

XWindow::~XWindow() {
    destroy();
}

HWND XWindow::handle() const {
    return m_state->window;
}

cv::Mat XWindow::pixels() const {
    dispatchMessages();
    RECT client{};
    if (!GetClientRect(m_state->window, &client)) {
        throw std::runtime_error("the window is gone");
    }
    cv::Mat shown(client.bottom, client.right, CV_8UC4);
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = client.right;
    info.bmiHeader.biHeight = -client.bottom; // top row first
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    const HDC windowDc = GetDC(m_state->window);
    const HDC copyDc = CreateCompatibleDC(windowDc);
    const HBITMAP copy = CreateCompatibleBitmap(windowDc, client.right, client.bottom);
    const HGDIOBJ previous = SelectObject(copyDc, copy);
    const bool copied =
        BitBlt(copyDc, 0, 0, client.right, client.bottom, windowDc, 0, 0, SRCCOPY) != FALSE;
    SelectObject(copyDc, previous);
    const bool read = copied && GetDIBits(copyDc, copy, 0, static_cast<UINT>(client.bottom),
                                          shown.data, &info, DIB_RGB_COLORS) == client.bottom;
    DeleteObject(copy);
    DeleteDC(copyDc);
    ReleaseDC(m_state->window, windowDc);
    if (!read) {
        throw std::runtime_error("the window cannot be read");
    }
    cv::Mat bgr(shown.size(), CV_8UC3);
    const std::array<int, 6> channels{0, 0, 1, 1, 2, 2};
    cv::mixChannels(&shown, 1, &bgr, 1, channels.data(), 3);
    return bgr;
}

cv::Mat XWindow::rawPixels() const {
    throw std::logic_error("Windows does not tell how it stores a window");
}

void XWindow::destroy() {
    if (m_state->window != nullptr) {
        DestroyWindow(m_state->window);
        dispatchMessages();
    }
}

} // namespace test
