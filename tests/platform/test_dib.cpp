// The bitmap library's stand-in: a bitmap's members, what can be created, what is freed.
#include <MorvelDib.h>
#include <MorvelDibTesting.h>

#include "tests/platform/neighbour.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <thread>
#include <type_traits>

#include <gmock/gmock.h>

namespace {

using morvel_dib_testing::failConstruction;
using morvel_dib_testing::failCreate;
using morvel_dib_testing::liveBitmaps;
using morvel_dib_testing::liveObjects;

const int bitCounts[] = {1, 4, 8, 16, 24, 32};

// Rows are padded to a multiple of 4 bytes; counted bit by bit rather than by the formula.
std::size_t paddedRow(int width, int bitCount) {
    std::size_t bytes = 0;
    while (bytes * 8 < static_cast<std::size_t>(width) * static_cast<std::size_t>(bitCount) ||
           bytes % 4 != 0) {
        ++bytes;
    }
    return bytes;
}

bool isUncreated(const CDib& dib) {
    const auto* const header = reinterpret_cast<const BYTE*>(&dib.m_bmi.bmiHeader);
    return dib.m_hBitmap == nullptr && dib.m_pBits == nullptr &&
           std::all_of(header, header + sizeof dib.m_bmi.bmiHeader, [](BYTE b) { return b == 0; });
}

class Dib : public testing::Test {
protected:
    ~Dib() override {
        failCreate(0);
        failConstruction(0);
        EXPECT_EQ(liveObjects(), m_objects);
        EXPECT_EQ(liveBitmaps(), m_bitmaps);
    }

private:
    long m_objects = liveObjects();
    long m_bitmaps = liveBitmaps();
};

TEST_F(Dib, BeginsWithoutABitmap) {
    static_assert(!std::is_copy_constructible_v<CDib> && !std::is_copy_assignable_v<CDib>);
    static_assert(std::has_virtual_destructor_v<CDib>);
    const CDib dib;
    EXPECT_TRUE(isUncreated(dib));
}

TEST_F(Dib, CreatesEveryDepthWidthAndRowOrder) {
    for (const int bitCount : bitCounts) {
        for (int width = 1; width <= 9; ++width) {
            for (const int height : {1, 2, 5, -1, -2, -5}) {
                CDib dib;
                ASSERT_NE(dib.Create(width, height, bitCount, nullptr, nullptr), 0);
                ASSERT_NE(dib.m_hBitmap, nullptr);
                ASSERT_NE(dib.m_pBits, nullptr);
                const BITMAPINFOHEADER& header = dib.m_bmi.bmiHeader;
                EXPECT_EQ(header.biSize, 40U);
                EXPECT_EQ(header.biWidth, width);
                EXPECT_EQ(header.biHeight, height);
                EXPECT_EQ(header.biPlanes, 1);
                EXPECT_EQ(header.biBitCount, bitCount);
                EXPECT_EQ(header.biCompression, static_cast<DWORD>(BI_RGB));
                const std::size_t bytes =
                    paddedRow(width, bitCount) * static_cast<std::size_t>(std::abs(height));
                EXPECT_EQ(header.biSizeImage, bytes);
                // All bytes are zero, padding included. The address checker watches the writes.
                EXPECT_TRUE(
                    std::all_of(dib.m_pBits, dib.m_pBits + bytes, [](BYTE b) { return b == 0; }));
                std::fill_n(dib.m_pBits, bytes, BYTE{0xAA});
            }
        }
    }
}

TEST_F(Dib, CreateGrayIs8BitsWithTheGreyRamp) {
    CDib dib;
    ASSERT_NE(dib.CreateGray(7, 3), 0);
    EXPECT_EQ(dib.m_bmi.bmiHeader.biBitCount, 8);
    EXPECT_EQ(dib.m_bmi.bmiHeader.biWidth, 7);
    EXPECT_EQ(dib.m_bmi.bmiHeader.biHeight, 3);
    for (int i = 0; i < 256; ++i) {
        const RGBQUAD colour = dib.m_bmi.bmiColors[i];
        ASSERT_EQ(colour.rgbBlue, i);
        ASSERT_EQ(colour.rgbGreen, i);
        ASSERT_EQ(colour.rgbRed, i);
        ASSERT_EQ(colour.rgbReserved, 0);
    }
    ASSERT_NE(dib.CreateGray(7, -3), 0);
    EXPECT_EQ(dib.m_bmi.bmiHeader.biHeight, -3);
}

TEST_F(Dib, RefusesZeroAndNegativeSizes) {
    const int least = std::numeric_limits<int>::min();
    const int most = std::numeric_limits<int>::max();
    CDib dib;
    for (const int bitCount : bitCounts) {
        for (const auto& [width, height] : {std::pair{0, 5},
                                            {5, 0},
                                            {0, 0},
                                            {-1, 5},
                                            {-5, -5},
                                            {least, 5},
                                            {5, least},
                                            {most, most},
                                            {most, -most}}) {
            EXPECT_EQ(dib.Create(width, height, bitCount, nullptr, nullptr), 0)
                << width << " x " << height << ", " << bitCount << " bits";
        }
    }
    EXPECT_EQ(dib.CreateGray(0, 0), 0);
    EXPECT_EQ(dib.CreateGray(-1, 1), 0);
    EXPECT_EQ(dib.CreateGray(1, 0), 0);
    EXPECT_TRUE(isUncreated(dib));
}

TEST_F(Dib, RefusesSizesWhoseBytesOverflow) {
    CDib dib;
    EXPECT_EQ(dib.CreateGray(65536, 65536), 0); // 2^32
    EXPECT_EQ(dib.CreateGray(65536, -65536), 0);
    EXPECT_EQ(dib.Create(40000, 40000, 24, nullptr, nullptr), 0); // 4.8e9
    EXPECT_EQ(dib.Create(32768, 32768, 32, nullptr, nullptr), 0); // 2^32
    EXPECT_EQ(dib.Create(0x10000000, 1, 8, nullptr, nullptr), 0); // a row of 2^31 bits
    EXPECT_EQ(dib.Create(0x08000000, 1, 16, nullptr, nullptr), 0);
    EXPECT_EQ(dib.Create(89478486, 1, 24, nullptr, nullptr), 0); // 2^31 + 16 bits
    EXPECT_TRUE(isUncreated(dib));
    EXPECT_NE(dib.Create(0x0fffff00, 1, 8, nullptr, nullptr), 0); // just below, both ways
    EXPECT_NE(dib.Create(1, 0x00ffffff, 1, nullptr, nullptr), 0);
}

TEST_F(Dib, RefusesOtherBitCounts) {
    CDib dib;
    for (const int bitCount : {-24, -1, 0, 2, 3, 7, 9, 12, 15, 23, 25, 31, 33, 64, 24 + 65536}) {
        EXPECT_EQ(dib.Create(4, 4, bitCount, nullptr, nullptr), 0) << bitCount;
    }
    EXPECT_TRUE(isUncreated(dib));
}

TEST_F(Dib, CreatingAgainFreesTheOldPixels) {
    const long before = liveBitmaps();
    CDib dib;
    EXPECT_EQ(liveBitmaps(), before);
    ASSERT_NE(dib.CreateGray(100, 100), 0);
    ASSERT_NE(dib.Create(3, 2, 24, nullptr, nullptr), 0);
    EXPECT_EQ(liveBitmaps(), before + 1);
    EXPECT_EQ(dib.m_bmi.bmiHeader.biWidth, 3);
    EXPECT_EQ(dib.m_bmi.bmiHeader.biBitCount, 24);
}

TEST_F(Dib, AFailedCreateChangesNothing) {
    CDib dib;
    ASSERT_NE(dib.CreateGray(3, 2), 0);
    dib.m_pBits[0] = 77;
    auto* const handle = dib.m_hBitmap;
    EXPECT_EQ(dib.Create(0, 2, 24, nullptr, nullptr), 0);
    failCreate(1);
    EXPECT_EQ(dib.Create(4, 4, 24, nullptr, nullptr), 0);
    EXPECT_EQ(dib.m_hBitmap, handle);
    EXPECT_EQ(dib.m_pBits[0], 77);
    EXPECT_EQ(dib.m_bmi.bmiHeader.biBitCount, 8);
}

TEST_F(Dib, TakesThePaletteThatIsGiven) {
    RGBQUAD palette[256];
    for (int i = 0; i < 256; ++i) {
        palette[i] = {static_cast<BYTE>(i), static_cast<BYTE>(i + 1), static_cast<BYTE>(i + 2), 0};
    }
    CDib source;
    ASSERT_NE(source.CreateGray(1, 1), 0);
    for (const int bitCount : {1, 4, 8}) {
        CDib dib;
        ASSERT_NE(dib.Create(4, 4, bitCount, palette, &source), 0);
        const int count = 1 << bitCount;
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(dib.m_bmi.bmiColors[i].rgbGreen, static_cast<BYTE>(i + 1));
        }
        for (int i = count; i < 256; ++i) {
            ASSERT_EQ(dib.m_bmi.bmiColors[i].rgbGreen, 0) << "more than the depth has";
        }
    }
}

TEST_F(Dib, TakesThePaletteOfAnotherBitmapOfTheSameDepth) {
    RGBQUAD palette[16]{};
    palette[3] = {1, 2, 3, 0};
    CDib source;
    ASSERT_NE(source.Create(1, 1, 4, palette, nullptr), 0);
    CDib dib;
    ASSERT_NE(dib.Create(1, 1, 4, nullptr, &source), 0);
    EXPECT_EQ(dib.m_bmi.bmiColors[3].rgbRed, 3);
    EXPECT_EQ(dib.m_bmi.bmiColors[15].rgbRed, 0);
    ASSERT_NE(dib.Create(2, 2, 4, nullptr, &dib), 0) << "its own palette";
    EXPECT_EQ(dib.m_bmi.bmiColors[3].rgbRed, 3);
    ASSERT_NE(dib.Create(1, 1, 8, nullptr, &source), 0);
    EXPECT_EQ(dib.m_bmi.bmiColors[200].rgbRed, 200)
        << "a palette of another depth does not fit: the ramp";
    CDib none;
    ASSERT_NE(dib.Create(1, 1, 8, nullptr, &none), 0);
    EXPECT_EQ(dib.m_bmi.bmiColors[200].rgbRed, 200);
}

TEST_F(Dib, WithoutAPaletteTheColoursAreARampFromBlackToWhite) {
    CDib dib;
    ASSERT_NE(dib.Create(1, 1, 1, nullptr, nullptr), 0);
    EXPECT_EQ(dib.m_bmi.bmiColors[0].rgbRed, 0);
    EXPECT_EQ(dib.m_bmi.bmiColors[1].rgbRed, 255);
    ASSERT_NE(dib.Create(1, 1, 4, nullptr, nullptr), 0);
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(dib.m_bmi.bmiColors[i].rgbBlue, i * 17);
    }
}

TEST_F(Dib, LargeBitmapsAreZeroToTheEnd) {
    CDib dib;
    ASSERT_NE(dib.Create(8000, 4000, 32, nullptr, nullptr), 0);
    const std::size_t bytes = std::size_t{8000} * 4000 * 4;
    EXPECT_EQ(dib.m_pBits[0], 0);
    EXPECT_EQ(dib.m_pBits[bytes / 2], 0);
    EXPECT_EQ(dib.m_pBits[bytes - 1], 0);
    dib.m_pBits[bytes - 1] = 1;
}

TEST_F(Dib, IsMadeInOneModuleAndDeletedInAnother) {
    const long objects = liveObjects();
    std::unique_ptr<CDib> dib(neighbour::newGrayDib(5, 4));
    ASSERT_NE(dib->m_hBitmap, nullptr);
    EXPECT_EQ(liveObjects(), objects + 1);
    dib.reset();
    EXPECT_EQ(liveObjects(), objects);
    neighbour::deleteDib(new CDib);
    EXPECT_EQ(liveObjects(), objects);
    dib.reset(neighbour::newGrayDib(0, 4));
    EXPECT_EQ(dib->m_hBitmap, nullptr);
}

TEST_F(Dib, FailsTheNthCreateOnce) {
    failCreate(3);
    CDib dib;
    EXPECT_NE(dib.CreateGray(1, 1), 0);
    EXPECT_NE(dib.Create(1, 1, 24, nullptr, nullptr), 0);
    EXPECT_EQ(dib.CreateGray(1, 1), 0);
    EXPECT_NE(dib.CreateGray(1, 1), 0);
    failCreate(1);
    failCreate(0);
    EXPECT_NE(dib.CreateGray(1, 1), 0);
}

TEST_F(Dib, FailsTheNthConstructionOnce) {
    failConstruction(2);
    const auto first = std::make_unique<CDib>();
    EXPECT_THROW(std::make_unique<CDib>(), std::bad_alloc);
    EXPECT_NO_THROW(std::make_unique<CDib>());
}

TEST_F(Dib, CountsFromAllThreads) {
    const long objects = liveObjects();
    std::array<std::thread, 4> threads;
    for (std::thread& thread : threads) {
        thread = std::thread([] {
            for (int n = 0; n < 1000; ++n) {
                CDib dib;
                dib.CreateGray(n % 7, 3);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(liveObjects(), objects);
}

TEST_F(Dib, DrawsNowhereWithoutABitmapOrAWindow) {
    CDib dib;
    EXPECT_EQ(dib.BitBlt(nullptr, 0, 0, 1, 1, 0, 0, SRCCOPY), 0);
    ASSERT_NE(dib.CreateGray(4, 4), 0);
    EXPECT_EQ(dib.BitBlt(nullptr, 0, 0, 4, 4, 0, 0, SRCCOPY), 0);
}

} // namespace
