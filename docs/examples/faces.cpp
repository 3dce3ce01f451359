// Finds faces. The export needs a grey bitmap, which the host makes from its colour bitmap.
#include <tarvix/tarvix.h>

#include <cstddef>
#include <iostream>
#include <memory>

std::unique_ptr<CDib> greyOf(const CDib& colour) {
    const BITMAPINFOHEADER& header = colour.m_bmi.bmiHeader;
    auto grey = std::make_unique<CDib>();
    if (grey->CreateGray(header.biWidth, header.biHeight) == 0) {
        return nullptr;
    }
    const std::ptrdiff_t width = header.biWidth;
    for (std::ptrdiff_t y = 0; y < header.biHeight; ++y) { // rows are padded to 4 bytes
        const BYTE* from = colour.m_pBits + y * ((3 * width + 3) / 4 * 4);
        BYTE* to = grey->m_pBits + y * ((width + 3) / 4 * 4);
        for (std::ptrdiff_t x = 0; x < width; ++x, from += 3) { // blue, green, red
            to[x] = static_cast<BYTE>((114 * from[0] + 587 * from[1] + 299 * from[2]) / 1000);
        }
    }
    return grey;
}

int main(int argc, char** argv) {
    const std::unique_ptr<CDib> image(tx_LoadFile(argc > 1 ? argv[1] : ""));
    const std::unique_ptr<CDib> grey = image == nullptr ? nullptr : greyOf(*image);
    if (grey == nullptr) {
        std::cerr << "usage: faces IMAGE\n";
        return 1;
    }
    CArray<RECT, RECT&> faces;
    const int count = tx_FindFaces(*grey, faces);
    for (int i = 0; i < count; ++i) {
        std::cout << faces[i].left << ',' << faces[i].top << ' ' << faces[i].right << ','
                  << faces[i].bottom << '\n';
    }
}
