// A plain window for programs without a user interface of their own. They pass it to the
// calibrations for the preview. It shows what is drawn into it and repaints nothing.
#pragma once

#include <windows.h>

#include <memory>
#include <string>

class PreviewWindow {
public:
    // The window is visible when the constructor returns; its client area (in pixels) is black.
    // Throws std::runtime_error if there is no display.
    PreviewWindow(const std::string& title, int width, int height);
    ~PreviewWindow();
    PreviewWindow(const PreviewWindow&) = delete;
    PreviewWindow& operator=(const PreviewWindow&) = delete;

    // After the user has closed the window, the handle names no window.
    [[nodiscard]] HWND handle() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};
