// A display of the test's own, and windows on it.
#pragma once

#include "tests/support/environment.h"
#include "tests/support/files.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include <windows.h>

namespace test {

// An X server without screen (Xvfb), 1600 x 1200 pixels, for the time of the scope; DISPLAY names
// it. Throws std::runtime_error when it does not start within half a minute.
class XServer {
public:
    enum class AfterLastClient { stay, end };
    explicit XServer(int depth = 24, AfterLastClient then = AfterLastClient::stay);
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    // Ends the server now, under whoever is connected.
    void kill();

private:
    int m_process = -1;
    std::optional<ScopedEnvironment> m_display, m_session;
};

// A Wayland compositor without screen (weston), for the time of the scope; WAYLAND_DISPLAY names
// it. Throws std::runtime_error if it does not start within half a minute. Not on Windows.
class WaylandServer {
public:
    WaylandServer();
    ~WaylandServer();
    WaylandServer(const WaylandServer&) = delete;
    WaylandServer& operator=(const WaylandServer&) = delete;

private:
    TempFolder m_folder; // of its socket
    int m_process = -1;
    std::optional<ScopedEnvironment> m_runtime, m_display;
};

// Values of DISPLAY that name no display: none, and three that nobody answers to.
const std::vector<std::optional<std::string>>& noDisplays();

// The window handle of an X11 id.
HWND windowHandle(std::uintptr_t id);

// A mapped window at the top-left corner of the screen. Throws std::runtime_error when the server
// refuses.
class XWindow {
public:
    static const cv::Vec3b background; // blue, green, red, until something is drawn

    // Depth 0: the screen's own.
    XWindow(int width, int height, int depth = 0);
    ~XWindow();
    XWindow(const XWindow&) = delete;
    XWindow& operator=(const XWindow&) = delete;

    HWND handle() const;

    // What the window shows, CV_8UC3, blue, green, red; channels of fewer bits are widened to 8.
    cv::Mat pixels() const;

    // The pixel values as the server stores them, CV_32SC1.
    cv::Mat rawPixels() const;

    // The window is gone afterwards; its handle names no window.
    void destroy();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

// An id of the display that names something other than a window.
class XPixmap {
public:
    XPixmap(int width, int height);
    ~XPixmap();
    XPixmap(const XPixmap&) = delete;
    XPixmap& operator=(const XPixmap&) = delete;

    HWND handle() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

// Calls the probe with the handle of an open window of 4 x 4 pixels and with handles of everything
// that is not a window.
using HandleProbe = std::function<void(HWND handle, bool isWindow, const std::string& what)>;
void probeHandles(const HandleProbe& probe);

// What the whole screen shows, CV_8UC3, blue, green, red.
cv::Mat screenImage();

// Waits until a window of this title is visible. False when none appears within the limit.
bool waitForWindow(const std::string& title, int limitSeconds);

const std::uint32_t returnKey = 0xff0d; // X11's symbol of the key

// Waits for such a window, then presses the key in it until it is gone. False when either did not
// happen within the limit.
bool closeWindow(const std::string& title, std::uint32_t keySymbol, int limitSeconds);

} // namespace test
