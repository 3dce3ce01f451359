#include "tests/support/x_server.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <unistd.h>
#include <xcb/xcb.h>

namespace test {
namespace {

using Clock = std::chrono::steady_clock;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class Reply>
using ReplyOf = std::unique_ptr<Reply, Free>;

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

Connection connect() {
    Connection connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()) != 0) {
        throw std::runtime_error("no display to connect to");
    }
    return connection;
}

void require(const Connection& connection, xcb_void_cookie_t cookie, const char* request) {
    const ReplyOf<xcb_generic_error_t> error(xcb_request_check(connection.get(), cookie));
    if (error != nullptr || xcb_connection_has_error(connection.get()) != 0) {
        throw std::runtime_error(std::string("the X server refused: ") + request);
    }
}

xcb_screen_t& screenOf(const Connection& connection) {
    return *xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
}

struct VisualOfDepth {
    std::uint8_t depth;
    const xcb_visualtype_t* visual;
};

VisualOfDepth findVisual(const Connection& connection, int wantedDepth) {
    const xcb_screen_t& screen = screenOf(connection);
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0;
         xcb_depth_next(&depth)) {
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
             xcb_visualtype_next(&visual)) {
            if (wantedDepth == 0 ? visual.data->visual_id == screen.root_visual
                                 : depth.data->depth == wantedDepth) {
                return {depth.data->depth, visual.data};
            }
        }
    }
    throw std::runtime_error("the X server has no visual of this depth");
}

// The channel's bits widened to 8, as the nearest value.
std::uint8_t channel(std::uint32_t pixel, std::uint32_t mask) {
    const int shift = std::countr_zero(mask);
    const std::uint64_t highest = mask >> shift;
    const std::uint64_t value = (pixel & mask) >> shift;
    return static_cast<std::uint8_t>((value * 255 + highest / 2) / highest);
}

// A window and how its pixels are stored.
struct Surface {
    Connection connection;
    xcb_window_t window = 0;
    int width = 0, height = 0, depth = 0;
    xcb_visualtype_t visual{};
};

// The pixel values as the server stores them, CV_32SC1.
cv::Mat readRaw(const Surface& surface) {
    const ReplyOf<xcb_get_image_reply_t> reply(xcb_get_image_reply(
        surface.connection.get(),
        xcb_get_image(surface.connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, surface.window, 0, 0,
                      static_cast<std::uint16_t>(surface.width),
                      static_cast<std::uint16_t>(surface.height), ~0U),
        nullptr));
    if (!reply) {
        throw std::runtime_error("the window's pixels cannot be read");
    }
    const xcb_setup_t* const setup = xcb_get_setup(surface.connection.get());
    const xcb_format_t* const formats = xcb_setup_pixmap_formats(setup);
    const xcb_format_t* const format =
        std::find_if(formats, formats + xcb_setup_pixmap_formats_length(setup),
                     [&](const xcb_format_t& one) { return one.depth == surface.depth; });
    const auto pixelBytes = static_cast<std::size_t>(format->bits_per_pixel / 8);
    const auto padding = static_cast<std::size_t>(format->scanline_pad / 8);
    const std::size_t stride =
        (static_cast<std::size_t>(surface.width) * pixelBytes + padding - 1) / padding * padding;
    const bool isBigEndian = setup->image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST;
    const std::uint8_t* const data = xcb_get_image_data(reply.get());

    cv::Mat pixels(surface.height, surface.width, CV_32SC1);
    for (int y = 0; y < surface.height; ++y) {
        for (int x = 0; x < surface.width; ++x) {
            const std::uint8_t* const bytes = data + static_cast<std::size_t>(y) * stride +
                                              static_cast<std::size_t>(x) * pixelBytes;
            std::uint32_t pixel = 0;
            for (std::size_t i = 0; i < pixelBytes; ++i) {
                pixel = pixel << 8 | bytes[isBigEndian ? i : pixelBytes - 1 - i];
            }
            pixels.at<int>(y, x) = static_cast<int>(pixel);
        }
    }
    return pixels;
}

// CV_8UC3, blue, green, red.
cv::Mat readColours(const Surface& surface) {
    const cv::Mat raw = readRaw(surface);
    cv::Mat image(raw.size(), CV_8UC3);
    for (int y = 0; y < raw.rows; ++y) {
        for (int x = 0; x < raw.cols; ++x) {
            const auto pixel = static_cast<std::uint32_t>(raw.at<int>(y, x));
            image.at<cv::Vec3b>(y, x) = {channel(pixel, surface.visual.blue_mask),
                                         channel(pixel, surface.visual.green_mask),
                                         channel(pixel, surface.visual.red_mask)};
        }
    }
    return image;
}

std::uint32_t pixelOf(const cv::Vec3b& colour, const xcb_visualtype_t& visual) {
    const std::array<std::uint32_t, 3> masks{visual.blue_mask, visual.green_mask, visual.red_mask};
    std::uint32_t pixel = 0;
    for (int i = 0; i < 3; ++i) {
        const std::uint32_t mask = masks.at(static_cast<std::size_t>(i));
        if (mask != 0) {
            const int shift = std::countr_zero(mask);
            const std::uint64_t highest = mask >> shift;
            pixel |= static_cast<std::uint32_t>((colour[i] * highest + 127) / 255) << shift;
        }
    }
    return pixel;
}

template <class IsDone>
bool repeatUntil(int limitSeconds, IsDone isDone) {
    const auto end = Clock::now() + std::chrono::seconds(limitSeconds);
    while (!isDone()) {
        if (Clock::now() > end) {
            return false;
        }
        usleep(50'000);
    }
    return true;
}

std::string titleOf(const Connection& connection, xcb_window_t window) {
    const ReplyOf<xcb_get_property_reply_t> name(xcb_get_property_reply(
        connection.get(),
        xcb_get_property(connection.get(), 0, window, XCB_ATOM_WM_NAME, XCB_ATOM_ANY, 0, 1000),
        nullptr));
    if (!name) {
        return {}; // gone meanwhile
    }
    return {static_cast<const char*>(xcb_get_property_value(name.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(name.get()))};
}

// The window of this title that is on the screen, or 0.
xcb_window_t findVisible(const Connection& connection, const std::string& title) {
    const ReplyOf<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
        connection.get(), xcb_query_tree(connection.get(), screenOf(connection).root), nullptr));
    if (!tree) {
        return 0;
    }
    const xcb_window_t* const windows = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        const ReplyOf<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            connection.get(), xcb_get_window_attributes(connection.get(), windows[i]), nullptr));
        if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
            titleOf(connection, windows[i]) == title) {
            return windows[i];
        }
    }
    return 0;
}

xcb_keycode_t keyCode(const Connection& connection, std::uint32_t symbol) {
    const xcb_setup_t* const setup = xcb_get_setup(connection.get());
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const ReplyOf<xcb_get_keyboard_mapping_reply_t> mapping(xcb_get_keyboard_mapping_reply(
        connection.get(), xcb_get_keyboard_mapping(connection.get(), setup->min_keycode, count),
        nullptr));
    if (mapping) {
        const xcb_keysym_t* const symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
        for (std::size_t i = 0; i < count; ++i) {
            if (symbols[i * mapping->keysyms_per_keycode] == symbol) {
                return static_cast<xcb_keycode_t>(setup->min_keycode + static_cast<int>(i));
            }
        }
    }
    throw std::runtime_error("the keyboard has no such key");
}

// Sends the press and the release to the window. It may go in between: that error is nobody's.
void pressKey(const Connection& connection, xcb_window_t window, xcb_keycode_t code) {
    for (const int type : {XCB_KEY_PRESS, XCB_KEY_RELEASE}) {
        xcb_key_press_event_t event{};
        event.response_type = static_cast<std::uint8_t>(type);
        event.detail = code;
        event.root = screenOf(connection).root;
        event.event = window;
        event.same_screen = 1;
        std::array<char, 32> bytes{};
        static_assert(sizeof event <= sizeof bytes);
        std::memcpy(bytes.data(), &event, sizeof event);
        xcb_send_event(connection.get(), 0, window, XCB_EVENT_MASK_NO_EVENT, bytes.data());
    }
    xcb_flush(connection.get());
}

} // namespace

HWND windowHandle(std::uintptr_t id) {
    return reinterpret_cast<HWND>(id); // NOLINT(performance-no-int-to-ptr): what a handle is
}

struct XWindow::State : Surface {};

const cv::Vec3b XWindow::background(0x31, 0xc6, 0x84);

XWindow::XWindow(int width, int height, int depth) : m_state(std::make_unique<State>()) {
    State& state = *m_state;
    state.connection = connect();
    xcb_connection_t* const connection = state.connection.get();
    const xcb_screen_t& screen = screenOf(state.connection);
    const VisualOfDepth found = findVisual(state.connection, depth);
    state.width = width;
    state.height = height;
    state.depth = found.depth;
    state.visual = *found.visual;

    const xcb_colormap_t colours = xcb_generate_id(connection);
    require(state.connection,
            xcb_create_colormap_checked(connection, XCB_COLORMAP_ALLOC_NONE, colours, screen.root,
                                        state.visual.visual_id),
            "a colour map");
    state.window = xcb_generate_id(connection);
    const std::array<std::uint32_t, 4> values{pixelOf(background, state.visual), 0, 1, colours};
    require(state.connection,
            xcb_create_window_checked(connection, found.depth, state.window, screen.root, 0, 0,
                                      static_cast<std::uint16_t>(width),
                                      static_cast<std::uint16_t>(height), 0,
                                      XCB_WINDOW_CLASS_INPUT_OUTPUT, state.visual.visual_id,
                                      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL |
                                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP,
                                      values.data()),
            "a window");
    // No window manager is there, so the window is on the screen when the request is done.
    require(state.connection, xcb_map_window_checked(connection, state.window), "to map a window");
}

XWindow::~XWindow() = default; // the server destroys what a connection leaves

HWND XWindow::handle() const {
    return windowHandle(m_state->window);
}

cv::Mat XWindow::rawPixels() const {
    return readRaw(*m_state);
}

cv::Mat XWindow::pixels() const {
    return readColours(*m_state);
}

void XWindow::destroy() {
    require(m_state->connection,
            xcb_destroy_window_checked(m_state->connection.get(), m_state->window),
            "to destroy a window");
}

struct XPixmap::State {
    Connection connection;
    xcb_pixmap_t pixmap = 0;
};

XPixmap::XPixmap(int width, int height) : m_state(std::make_unique<State>()) {
    m_state->connection = connect();
    const xcb_screen_t& screen = screenOf(m_state->connection);
    m_state->pixmap = xcb_generate_id(m_state->connection.get());
    require(m_state->connection,
            xcb_create_pixmap_checked(m_state->connection.get(), screen.root_depth, m_state->pixmap,
                                      screen.root, static_cast<std::uint16_t>(width),
                                      static_cast<std::uint16_t>(height)),
            "a pixmap");
}

XPixmap::~XPixmap() = default;

HWND XPixmap::handle() const {
    return windowHandle(m_state->pixmap);
}

cv::Mat screenImage() {
    Surface screen;
    screen.connection = connect();
    const xcb_screen_t& root = screenOf(screen.connection);
    screen.window = root.root;
    screen.width = root.width_in_pixels;
    screen.height = root.height_in_pixels;
    const VisualOfDepth found = findVisual(screen.connection, 0);
    screen.depth = found.depth;
    screen.visual = *found.visual;
    return readColours(screen);
}

const std::vector<std::optional<std::string>>& noDisplays() {
    static const std::vector<std::optional<std::string>> values{std::nullopt, "", ":60999",
                                                                "nonsense"};
    return values;
}

void probeHandles(const HandleProbe& probe) {
    XWindow window(4, 4);
    const auto id = reinterpret_cast<std::uintptr_t>(window.handle());
    probe(window.handle(), true, "a window");
    probe(nullptr, false, "null");
    probe(windowHandle(0x7fffffff), false, "an id that names nothing");
    probe(windowHandle(id | std::uintptr_t{1} << 32), false, "more than the id in its low half");
    probe(XPixmap(4, 4).handle(), false, "a pixmap");
    window.destroy();
    probe(window.handle(), false, "a window that is gone");
}

bool waitForWindow(const std::string& title, int limitSeconds) {
    const Connection connection = connect();
    return repeatUntil(limitSeconds, [&] { return findVisible(connection, title) != 0; });
}

bool closeWindow(const std::string& title, std::uint32_t keySymbol, int limitSeconds) {
    const Connection connection = connect();
    xcb_window_t window = 0;
    const auto find = [&] { return (window = findVisible(connection, title)) != 0; };
    const xcb_keycode_t code = keyCode(connection, keySymbol);
    return repeatUntil(limitSeconds, find) && repeatUntil(limitSeconds, [&] {
               pressKey(connection, window, code);
               return !find();
           });
}

} // namespace test
