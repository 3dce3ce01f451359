// A host that uses only what the archive for users contains.
#include <tarvix/tarvix.h>

#include <cstdio>
#include <exception>
#include <memory>

int main(int argc, char** argv) {
    const std::unique_ptr<CDib> image(tx_LoadFile(argc > 1 ? argv[1] : ""));
    if (!image) {
        std::puts("the image cannot be loaded");
        return 1;
    }
    const std::unique_ptr<CDib> edges(tx_Canny(*image, 50, 150, 3, 0));
    CDib never;
    try {
        tx_Canny(never, 1, 2, 3, 0);
        std::puts("no exception for a bitmap that was never made");
        return 1;
    } catch (const std::exception& e) {
        std::printf("refused: %s\n", e.what());
    }
    const BITMAPINFOHEADER& header = edges->m_bmi.bmiHeader;
    long count = 0;
    for (unsigned long i = 0; i < header.biSizeImage; ++i) {
        count += edges->m_pBits[i] == 255 ? 1 : 0;
    }
    std::printf("edges: %ld\n", count);
    return 0;
}
