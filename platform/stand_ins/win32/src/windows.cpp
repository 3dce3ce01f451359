#include <windows.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <ratio>

#include <xcb/xcb.h>

BOOL IsRectEmpty(const RECT* rect) {
    return rect == nullptr || rect->right <= rect->left || rect->bottom <= rect->top ? TRUE : FALSE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
    if (frequency == nullptr) {
        return FALSE;
    }
    frequency->QuadPart = std::nano::den;
    return TRUE;
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
    if (count == nullptr) {
        return FALSE;
    }
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    count->QuadPart = std::chrono::nanoseconds(sinceStart).count();
    return TRUE;
}

BOOL GetClientRect(HWND window, LPRECT rect) {
    const auto id = reinterpret_cast<std::uintptr_t>(window);
    if (id == 0 || id > std::numeric_limits<xcb_window_t>::max() || rect == nullptr) {
        return FALSE;
    }
    // With a connection of our own, errors come back as replies to us, and no handler of the host's
    // sees them. The attributes are requested as well, because only windows have them: a pixmap has
    // a size, too.
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, nullptr), &xcb_disconnect);
    if (xcb_connection_has_error(connection.get()) != 0) {
        return FALSE;
    }
    const auto attributesCookie =
        xcb_get_window_attributes(connection.get(), static_cast<xcb_window_t>(id));
    const auto geometryCookie = xcb_get_geometry(connection.get(), static_cast<xcb_window_t>(id));
    xcb_generic_error_t* attributesError = nullptr;
    xcb_generic_error_t* geometryError = nullptr;
    const std::unique_ptr<xcb_get_window_attributes_reply_t, decltype(&std::free)> attributes(
        xcb_get_window_attributes_reply(connection.get(), attributesCookie, &attributesError),
        &std::free);
    const std::unique_ptr<xcb_get_geometry_reply_t, decltype(&std::free)> geometry(
        xcb_get_geometry_reply(connection.get(), geometryCookie, &geometryError), &std::free);
    std::free(attributesError);
    std::free(geometryError);
    if (!attributes || !geometry) {
        return FALSE;
    }
    *rect = {0, 0, geometry->width, geometry->height};
    return TRUE;
}
