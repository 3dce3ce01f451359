// Bitmaps of any depth, size and content into every export that takes one, with any parameters.
#include "tests/fuzz/fuzzing.h"
#include "tests/support/images.h"

#include <cstdlib>

namespace {

const std::vector<std::string> exports = test::exportsThatTake(test::takesBitmap);

constexpr int mostPixels = 1 << 17;

test::Dib bitmap(fuzz::Bytes& in) {
    constexpr std::array depths{24, 8, 24, 8, 24, 1, 4, 16, 32, 2};
    const int width = fuzz::oddInt(in);
    int height = fuzz::oddInt(in);
    const std::size_t depth = in.byte();
    if (width > 0 && std::abs(static_cast<double>(height)) * width > mostPixels) {
        height = mostPixels / width * (height < 0 ? -1 : 1);
    }
    auto dib = std::make_unique<CDib>(); // has no bitmap if none can be created
    dib->Create(width, height, depths[depth % depths.size()], nullptr, nullptr);
    return dib;
}

// Every pixel, or every square of 2, 4, 8 ..., gets the next byte of the content.
void paint(const CDib& dib, const std::string& content, int shift) {
    if (dib.m_hBitmap == nullptr || content.empty()) {
        return;
    }
    const BITMAPINFOHEADER& header = dib.m_bmi.bmiHeader;
    const auto rows = static_cast<std::size_t>(std::abs(header.biHeight));
    const std::size_t stride = header.biSizeImage / rows;
    for (std::size_t y = 0; y < rows; ++y) {
        for (std::size_t x = 0; x < stride; ++x) {
            const std::size_t cell = (y >> shift) * ((stride >> shift) + 1) + (x >> shift);
            dib.m_pBits[y * stride + x] =
                static_cast<unsigned char>(content[cell % content.size()]);
        }
    }
}

// Denoising takes time in proportion to the pixels and to the square of the search window, as
// documented. Any window may come with any image: if both together take too long, the image
// shrinks.
void boundDenoising(test::Arguments& a) {
    constexpr double mostSteps = 3e7;
    const BITMAPINFOHEADER& header = a.image->m_bmi.bmiHeader;
    const double pixels = std::abs(1.0 * header.biWidth * header.biHeight);
    const double search = std::max(a.ints[1], 0);
    if (pixels * search * search > mostSteps) {
        a.image = fuzz::smallBitmap(3, 2, header.biBitCount == 8 ? 8 : 24, "\x10\xF0\x30");
        a.ints[1] = search > 2000 && search < 1e6 ? 2000 : a.ints[1];
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Bytes in(data, size);
    const std::string name = exports[in.byte() % exports.size()];
    test::Arguments a;
    a.folder = fuzz::workplace().calibration();
    a.image = bitmap(in);
    a.second = bitmap(in);
    const int shift = in.byte() % 5;
    for (int& number : a.ints) {
        number = fuzz::oddInt(in);
    }
    for (double& number : a.reals) {
        number = fuzz::oddDouble(in);
    }
    for (std::size_t i = 0; i < 8; ++i) {
        a.from[i] = fuzz::oddDouble(in);
        a.to[i] = fuzz::oddDouble(in);
    }
    paint(*a.image, in.rest(), shift);
    paint(*a.second, in.rest(), shift);
    if (name == "tx_Denoise") {
        boundDenoising(a);
    }
    fuzz::call(name.c_str(), a);
    return 0;
}
