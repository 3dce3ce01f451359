#include "HostBitmap.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

// Poison beside the public members: whoever writes there by another layout is noticed.
constexpr double usualZoom = 1.25;
constexpr char usualTitle = 't';

} // namespace

CDib::CDib()
    : m_title{usualTitle}, m_document(this), m_bmi(), m_pBits(nullptr), m_zoom(usualZoom),
      m_hBitmap(nullptr) {}

CDib::~CDib() {
    if (m_document != this || m_title[0] != usualTitle || m_zoom != usualZoom) {
        std::abort();
    }
    Destroy();
}

bool CDib::IsModified() const {
    return false;
}

void CDib::Destroy() {
    std::free(m_pBits);
    m_pBits = nullptr;
    m_hBitmap = nullptr;
}

int CDib::Create(int width, int height, int bitCount, RGBQUAD* palette, CDib* /*paletteSource*/,
                 int /*resolution*/) {
    const std::int64_t stride = (std::int64_t{width} * bitCount + 31) / 32 * 4;
    const std::int64_t bytes = stride * (height < 0 ? -std::int64_t{height} : height);
    if (width <= 0 || bytes <= 0 || bytes > INT32_MAX) {
        return 0;
    }
    const auto pixels = static_cast<BYTE*>(std::calloc(static_cast<std::size_t>(bytes), 1));
    if (pixels == nullptr) {
        return 0;
    }
    Destroy();
    m_pBits = pixels;
    m_hBitmap = reinterpret_cast<HBITMAP>(this);
    m_bmi.bmiHeader = {};
    m_bmi.bmiHeader.biSize = sizeof m_bmi.bmiHeader;
    m_bmi.bmiHeader.biWidth = width;
    m_bmi.bmiHeader.biHeight = height;
    m_bmi.bmiHeader.biPlanes = 1;
    m_bmi.bmiHeader.biBitCount = static_cast<WORD>(bitCount);
    m_bmi.bmiHeader.biSizeImage = static_cast<DWORD>(bytes);
    for (int i = 0; bitCount == 8 && i < 256; ++i) {
        const auto grey = static_cast<BYTE>(i);
        m_bmi.bmiColors[i] = palette != nullptr ? palette[i] : RGBQUAD{grey, grey, grey, 0};
    }
    return 1;
}

int CDib::CreateGray(int width, int height) {
    return Create(width, height, 8, nullptr);
}

int CDib::BitBlt(HWND /*window*/, int /*xDest*/, int /*yDest*/, int /*width*/, int /*height*/,
                 int /*xSrc*/, int /*ySrc*/, DWORD /*rop*/) {
    return 0; // this one draws nothing
}
