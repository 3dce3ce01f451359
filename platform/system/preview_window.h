// A plain window that programs without a user interface of their own hand to the calibrations'
// previews. It shows what is drawn into it and repaints nothing.
#pragma once

#include <windows.h>

#include <memory>
#include <string>

class PreviewWindow {
public:
    // Visible when the constructor returns, its client area (in pixels) black. Throws
    // std::runtime_error when there is no display.
    PreviewWindow(const std::string& title, int width, int height);
    ~PreviewWindow();
    PreviewWindow(const PreviewWindow&) = delete;
    PreviewWindow& operator=(const PreviewWindow&) = delete;

    // Names no window any more once the user has closed it.
    [[nodiscard]] HWND handle() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};
