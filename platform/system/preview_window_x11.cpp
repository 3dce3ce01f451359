#include "platform/system/preview_window.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <xcb/xcb.h>

struct PreviewWindow::State {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    xcb_window_t window = 0;

    State() = default;
    ~State() { xcb_disconnect(connection); } // the server closes the window with it
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    // Waits until something drawn would be seen: a window manager may take its time.
    void waitUntilVisible() const {
        for (int i = 0; i < 300; ++i) {
            xcb_generic_event_t* event = nullptr;
            while ((event = xcb_poll_for_event(connection)) != nullptr) {
                const int type = event->response_type & 0x7f;
                std::free(event);
                if (type == XCB_EXPOSE) {
                    return;
                }
            }
            if (xcb_connection_has_error(connection) != 0) {
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
};

PreviewWindow::PreviewWindow(const std::string& title, int width, int height)
    : m_state(std::make_unique<State>()) {
    xcb_connection_t* const connection = m_state->connection;
    if (xcb_connection_has_error(connection) != 0) {
        throw std::runtime_error("no display for a window");
    }
    const xcb_screen_t* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    m_state->window = xcb_generate_id(connection);
    const std::uint32_t values[] = {screen->black_pixel, XCB_BACKING_STORE_ALWAYS,
                                    XCB_EVENT_MASK_EXPOSURE};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, m_state->window, screen->root, 0, 0,
                      static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_BACKING_STORE | XCB_CW_EVENT_MASK, values);
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, m_state->window, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(title.size()), title.data());
    xcb_map_window(connection, m_state->window);
    xcb_flush(connection);
    m_state->waitUntilVisible();
}

PreviewWindow::~PreviewWindow() = default;

HWND PreviewWindow::handle() const {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the handle is the window's number
    return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(m_state->window));
}
