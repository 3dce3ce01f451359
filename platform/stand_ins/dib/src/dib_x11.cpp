#include "pixels.h"

#include "platform/system/large_pages.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include <xcb/xcb.h>

namespace morvel_dib {
namespace {

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class Reply>
using ReplyOf = std::unique_ptr<Reply, Free>;

// Returns true if the server carried out the request.
bool succeeded(const Connection& connection, xcb_void_cookie_t cookie) {
    const ReplyOf<xcb_generic_error_t> error(xcb_request_check(connection.get(), cookie));
    return error == nullptr && xcb_connection_has_error(connection.get()) == 0;
}

// A colour's pixel value in the window's visual is red[r] | green[g] | blue[b].
struct ColourTables {
    std::array<std::uint32_t, 256> red, green, blue;
};

// The format of the window's pixels.
struct Target {
    xcb_window_t window;
    int width, height;
    std::uint8_t depth;
    ColourTables colours;
    int pixelBytes; // 2, 3 or 4
    int rowPadding; // rows are padded to a multiple of this many bytes
    bool isBigEndian;
};

std::array<std::uint32_t, 256> channelTable(std::uint32_t mask, std::uint32_t always) {
    std::array<std::uint32_t, 256> table{};
    const int shift = std::countr_zero(mask);
    const std::uint64_t highest = mask >> shift;
    for (std::uint64_t value = 0; value < table.size(); ++value) {
        table[value] = static_cast<std::uint32_t>((value * highest + 127) / 255 << shift) | always;
    }
    return table;
}

const xcb_visualtype_t* findVisual(const xcb_setup_t* setup, xcb_visualid_t id) {
    for (auto screen = xcb_setup_roots_iterator(setup); screen.rem > 0; xcb_screen_next(&screen)) {
        for (auto depth = xcb_screen_allowed_depths_iterator(screen.data); depth.rem > 0;
             xcb_depth_next(&depth)) {
            for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
                 xcb_visualtype_next(&visual)) {
                if (visual.data->visual_id == id) {
                    return visual.data;
                }
            }
        }
    }
    return nullptr;
}

// Returns false if there is no such window or its pixels are not red, green and blue bits.
bool describeTarget(const Connection& connection, xcb_window_t window, Target& target) {
    xcb_generic_error_t* error = nullptr;
    const auto attributesCookie = xcb_get_window_attributes(connection.get(), window);
    const auto geometryCookie = xcb_get_geometry(connection.get(), window);
    const ReplyOf<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(connection.get(), attributesCookie, &error));
    const ReplyOf<xcb_generic_error_t> attributesError(std::exchange(error, nullptr));
    const ReplyOf<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection.get(), geometryCookie, &error));
    const ReplyOf<xcb_generic_error_t> geometryError(error);
    if (!attributes || !geometry || attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
        return false;
    }

    const xcb_setup_t* const setup = xcb_get_setup(connection.get());
    const xcb_visualtype_t* const visual = findVisual(setup, attributes->visual);
    if (visual == nullptr || visual->_class != XCB_VISUAL_CLASS_TRUE_COLOR ||
        visual->red_mask == 0 || visual->green_mask == 0 || visual->blue_mask == 0) {
        return false;
    }
    const xcb_format_t* format = xcb_setup_pixmap_formats(setup);
    const xcb_format_t* const end = format + xcb_setup_pixmap_formats_length(setup);
    format = std::find_if(format, end,
                          [&](const xcb_format_t& one) { return one.depth == geometry->depth; });
    if (format == end || format->bits_per_pixel % 8 != 0 || format->bits_per_pixel < 16) {
        return false;
    }

    target.window = window;
    target.width = geometry->width;
    target.height = geometry->height;
    target.depth = geometry->depth;
    target.pixelBytes = format->bits_per_pixel / 8;
    target.rowPadding = format->scanline_pad / 8;
    target.isBigEndian = setup->image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST;
    // Bits of the depth that belong to no colour are opacity.
    const std::uint32_t used = geometry->depth >= 32 ? ~0U : (1U << geometry->depth) - 1;
    const std::uint32_t opaque =
        used & ~(visual->red_mask | visual->green_mask | visual->blue_mask);
    target.colours = {channelTable(visual->red_mask, opaque), channelTable(visual->green_mask, 0),
                      channelTable(visual->blue_mask, 0)};
    return true;
}

// Reads the pixels of one stored row as colours.
class RowReader {
public:
    RowReader(const CDib& dib, int row) : m_dib(dib), m_bitCount(dib.m_bmi.bmiHeader.biBitCount) {
        const BITMAPINFOHEADER& header = dib.m_bmi.bmiHeader;
        const int stored = header.biHeight > 0 ? header.biHeight - 1 - row : row;
        m_row = dib.m_pBits +
                static_cast<std::size_t>(stored) * rowStride(header.biWidth, header.biBitCount);
    }

    RGBQUAD operator()(int x) const {
        const auto column = static_cast<std::size_t>(x);
        switch (m_bitCount) {
        case 1:
            return m_dib.m_bmi.bmiColors[m_row[column / 8] >> (7 - column % 8) & 1];
        case 4:
            return m_dib.m_bmi.bmiColors[m_row[column / 2] >> (column % 2 == 0 ? 4 : 0) & 15];
        case 8:
            return m_dib.m_bmi.bmiColors[m_row[column]];
        case 16: {
            const int pixel = m_row[2 * column] | m_row[2 * column + 1] << 8;
            return {widen(pixel), widen(pixel >> 5), widen(pixel >> 10), 0};
        }
        default: {
            const BYTE* const pixel = m_row + column * (m_bitCount / 8U);
            return {pixel[0], pixel[1], pixel[2], 0};
        }
        }
    }

private:
    static BYTE widen(int value) {
        const int five = value & 31;
        return static_cast<BYTE>(five << 3 | five >> 2);
    }

    const CDib& m_dib;
    unsigned m_bitCount;
    const BYTE* m_row;
};

void writeRow(const Target& target, const RowReader& row, int xSrc, int count, std::uint8_t* out) {
    for (int i = 0; i < count; ++i) {
        const RGBQUAD colour = row(xSrc + i);
        const std::uint32_t pixel = target.colours.red[colour.rgbRed] |
                                    target.colours.green[colour.rgbGreen] |
                                    target.colours.blue[colour.rgbBlue];
        for (int byte = 0; byte < target.pixelBytes; ++byte) {
            const int place = target.isBigEndian ? target.pixelBytes - 1 - byte : byte;
            *out++ = static_cast<std::uint8_t>(pixel >> (8 * place));
        }
    }
}

// Sends the pixels in tiles that fit the server's longest request.
bool putImage(const Connection& connection, xcb_gcontext_t gc, const Target& target,
              const CDib& dib, const Blit& blit) {
    const std::size_t longest = std::size_t{xcb_get_maximum_request_length(connection.get())} * 4;
    const std::size_t tileBytes = std::min<std::size_t>(longest, std::size_t{1} << 20) - 64;
    const auto pixelBytes = static_cast<std::size_t>(target.pixelBytes);
    const auto padding = static_cast<std::size_t>(target.rowPadding);
    const int columns = static_cast<int>(std::min<std::size_t>(
        (tileBytes - padding) / pixelBytes, static_cast<std::size_t>(blit.width)));
    const std::size_t stride =
        (static_cast<std::size_t>(columns) * pixelBytes + padding - 1) / padding * padding;
    const int rows = static_cast<int>(
        std::min<std::size_t>(tileBytes / stride, static_cast<std::size_t>(blit.height)));
    std::vector<std::uint8_t> tile(stride * static_cast<std::size_t>(rows));

    for (int y = 0; y < blit.height; y += rows) {
        const int tileRows = std::min(rows, blit.height - y);
        for (int x = 0; x < blit.width; x += columns) {
            const int tileColumns = std::min(columns, blit.width - x);
            const std::size_t tileStride =
                (static_cast<std::size_t>(tileColumns) * pixelBytes + padding - 1) / padding *
                padding;
            for (int row = 0; row < tileRows; ++row) {
                writeRow(target, RowReader(dib, blit.ySrc + y + row), blit.xSrc + x, tileColumns,
                         tile.data() + static_cast<std::size_t>(row) * tileStride);
            }
            const auto cookie = xcb_put_image_checked(
                connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, target.window, gc,
                static_cast<std::uint16_t>(tileColumns), static_cast<std::uint16_t>(tileRows),
                static_cast<std::int16_t>(blit.xDest + x),
                static_cast<std::int16_t>(blit.yDest + y), 0, target.depth,
                static_cast<std::uint32_t>(tileStride * static_cast<std::size_t>(tileRows)),
                tile.data());
            if (!succeeded(connection, cookie)) {
                return false;
            }
        }
    }
    return true;
}

// Cuts off what is outside the window. Returns false if nothing is left.
bool clipToWindow(Blit& blit, const Target& target) {
    const std::int64_t left = std::max(0, blit.xDest);
    const std::int64_t top = std::max(0, blit.yDest);
    const std::int64_t right =
        std::min<std::int64_t>(target.width, std::int64_t{blit.xDest} + blit.width);
    const std::int64_t bottom =
        std::min<std::int64_t>(target.height, std::int64_t{blit.yDest} + blit.height);
    if (left >= right || top >= bottom) {
        return false;
    }
    blit.xSrc += static_cast<int>(left - blit.xDest);
    blit.ySrc += static_cast<int>(top - blit.yDest);
    blit.xDest = static_cast<int>(left);
    blit.yDest = static_cast<int>(top);
    blit.width = static_cast<int>(right - left);
    blit.height = static_cast<int>(bottom - top);
    return true;
}

} // namespace

Pixels allocatePixels(const BitmapInfo& info) {
    // Large blocks are fresh pages that the system has zeroed and nobody has touched yet.
    void* const bits = std::calloc(info.bmiHeader.biSizeImage, 1);
    tarvix::preferLargePages(bits, info.bmiHeader.biSizeImage);
    return {static_cast<HBITMAP>(bits), static_cast<BYTE*>(bits)};
}

void freePixels(const Pixels& pixels) {
    std::free(pixels.bits);
}

int drawPixels(const CDib& dib, HWND window, const Blit& blit, DWORD rop) try {
    const auto id = reinterpret_cast<std::uintptr_t>(window);
    if (rop != SRCCOPY || id > std::numeric_limits<xcb_window_t>::max()) {
        return 0;
    }
    // With a connection of our own, errors come back as replies to our requests, and no handler of
    // the host's sees them.
    const Connection connection(xcb_connect(nullptr, nullptr));
    Target target{};
    if (xcb_connection_has_error(connection.get()) != 0 ||
        !describeTarget(connection, static_cast<xcb_window_t>(id), target)) {
        return 0;
    }
    Blit visible = blit;
    if (!clipToWindow(visible, target)) {
        return 1;
    }
    const xcb_gcontext_t gc = xcb_generate_id(connection.get());
    if (!succeeded(connection,
                   xcb_create_gc_checked(connection.get(), gc, target.window, 0, nullptr))) {
        return 0;
    }
    return putImage(connection, gc, target, dib, visible) ? 1 : 0;
} catch (const std::bad_alloc&) {
    return 0;
}

} // namespace morvel_dib
