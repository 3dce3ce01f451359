// Writes the edges of an image's top-left 64 x 64 pixels as text: load, one operation, own, free.
#include <tarvix/tarvix.h>

#include <cstddef>
#include <iostream>
#include <memory>

int main(int argc, char** argv) {
    const std::unique_ptr<CDib> image(tx_LoadFile(argc > 1 ? argv[1] : ""));
    if (image == nullptr) {
        std::cerr << "usage: edges IMAGE\n";
        return 1;
    }
    const std::unique_ptr<CDib> edges(tx_Canny(*image, 80, 200, 3, 0)); // may throw cv::Exception
    if (edges == nullptr) {
        std::cerr << "no bitmap could be made for the edges\n";
        return 1;
    }
    const BITMAPINFOHEADER& header = edges->m_bmi.bmiHeader;
    const std::ptrdiff_t stride = (std::ptrdiff_t{header.biWidth} + 3) / 4 * 4; // padded rows,
    for (int y = 0; y < header.biHeight && y < 64; ++y) { // stored from the bottom up
        const BYTE* row = edges->m_pBits + (header.biHeight - 1 - y) * stride;
        for (int x = 0; x < header.biWidth && x < 64; ++x) {
            std::cout << (row[x] != 0 ? '#' : '.');
        }
        std::cout << '\n';
    }
}
