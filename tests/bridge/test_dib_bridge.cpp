#include "bridge/dib_bridge.h"
#include "bridge/dib_view.h"

#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/observed_bitmaps.h"
#include "tests/support/test_host.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstring>
#include <thread>

namespace {

using namespace tarvix;
using test::Dib;
using test::IsIdenticalTo;

TEST(StoredRowBytes, IsTheHeaderFormula) {
    for (int width = 0; width <= 40; ++width) {
        for (const int bits : {1, 4, 8, 16, 24, 32}) {
            EXPECT_EQ(storedRowBytes(width, bits), ((bits * width + 31) >> 3) & ~3);
        }
    }
    EXPECT_EQ(storedRowBytes(-5, 24), ((24 * -5 + 31) >> 3) & ~3);
}

TEST(StoredRowBytes, DoesNotOverflow) {
    EXPECT_EQ(storedRowBytes(INT_MAX, 24), ((24LL * INT_MAX + 31) >> 3) & ~3LL);
}

TEST(DibToMat, NeverCreatedBitmapGivesAnEmptyMatrix) {
    const CDib dib;
    EXPECT_TRUE(DibToMat(dib).empty());
    EXPECT_EQ(DibToMat(dib).data, nullptr);
}

// Widths 1 to 9 in every depth: 8 and 24 bits convert without their padding, other depths give
// an empty matrix.
TEST(DibToMat, SweepOfWidthsAndDepths) {
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        for (int width = 1; width <= 9; ++width) {
            for (const int height : {1, 2, 5}) {
                const Dib dib = test::makeDib(width, height, bits);
                const cv::Mat m = DibToMat(*dib);
                if (bits != 8 && bits != 24) {
                    EXPECT_TRUE(m.empty()) << bits;
                    continue;
                }
                const cv::Mat image = test::noise(height, width, bits == 8 ? CV_8UC1 : CV_8UC3,
                                                  static_cast<std::uint64_t>(width * 100 + height));
                EXPECT_THAT(DibToMat(*test::dibOf(image)), IsIdenticalTo(image))
                    << bits << " bits, width " << width;
                EXPECT_THAT(
                    m, IsIdenticalTo(cv::Mat(height, width, image.type(), cv::Scalar::all(0xA5))));
            }
        }
    }
}

TEST(DibToMat, BottomLineBecomesTheLastRow) {
    cv::Mat image(3, 2, CV_8UC1, cv::Scalar(0));
    image.row(2).setTo(9); // bottom line as seen
    const Dib dib = test::dibOf(image);
    EXPECT_EQ(dib->m_pBits[0], 9); // stored first
    EXPECT_EQ(DibToMat(*dib).at<unsigned char>(2, 0), 9);
}

TEST(DibToMat, TopDownBitmapComesOutUpsideDown) {
    for (const int bits : {8, 24}) {
        for (int width = 1; width <= 9; ++width) {
            const int bytes = bits / 8;
            const Dib dib = test::makeDib(width, -4, bits);
            for (int stored = 0; stored < 4; ++stored) {
                std::memset(dib->m_pBits + stored * storedRowBytes(width, bits), stored + 1,
                            static_cast<std::size_t>(width * bytes));
            }
            const cv::Mat m = DibToMat(*dib);
            ASSERT_EQ(m.size(), cv::Size(width, 4));
            for (int row = 0; row < 4; ++row) {
                EXPECT_EQ(*m.ptr(row),
                          4 - row); // the top line as seen (stored first) is the last row
            }
        }
    }
}

TEST(DibToMat, OwnsItsPixels) {
    const Dib dib = test::makeDib(5, 5, 24, 7);
    const cv::Mat m = DibToMat(*dib);
    std::memset(dib->m_pBits, 99, 5 * 16);
    EXPECT_THAT(m, IsIdenticalTo(cv::Mat(5, 5, CV_8UC3, cv::Scalar::all(7))));
}

TEST(DibToMat, PaletteIsNotLookedUp) {
    const Dib dib = test::makeDib(3, 1, 8, 17);
    dib->m_bmi.bmiColors[17] = RGBQUAD{1, 2, 3, 0};
    EXPECT_THAT(DibToMat(*dib), IsIdenticalTo(cv::Mat(1, 3, CV_8UC1, cv::Scalar(17))));
}

TEST(DibToMat, DamagedHeaderIsRefusedWithoutReadingPixels) {
    Dib dib = test::makeDib(4, 4, 24);
    dib->m_bmi.bmiHeader.biWidth = -4;
    EXPECT_THROW(DibToMat(*dib), cv::Exception);
    dib = test::makeDib(4, 4, 24);
    BYTE* const bits = dib->m_pBits;
    dib->m_pBits = nullptr;
    EXPECT_TRUE(DibToMat(*dib).empty());
    dib->m_pBits = bits;
}

TEST(MatToDib, SweepOfWidthsLeavesTheImage) {
    for (const int type : {CV_8UC1, CV_8UC3}) {
        for (int width = 1; width <= 9; ++width) {
            for (const int height : {1, 2, 5}) {
                const cv::Mat image = test::noise(height, width, type);
                const Dib dib(MatToDib(image));
                ASSERT_NE(dib, nullptr);
                EXPECT_EQ(dib->m_bmi.bmiHeader.biBitCount, type == CV_8UC1 ? 8 : 24);
                EXPECT_EQ(dib->m_bmi.bmiHeader.biHeight, height);
                EXPECT_THAT(*dib, IsIdenticalTo(image));
            }
        }
    }
}

TEST(MatToDib, NonContinuousMatrix) {
    const cv::Mat whole = test::noise(20, 30, CV_8UC3);
    const cv::Mat part = whole(cv::Rect(3, 4, 7, 9));
    const Dib dib(MatToDib(part));
    ASSERT_NE(dib, nullptr);
    EXPECT_THAT(*dib, IsIdenticalTo(part));
}

TEST(MatToDib, OtherTypesGiveABitmapThatWasNeverCreated) {
    for (const int type : {CV_8UC4, CV_32FC1, CV_16UC1, CV_8SC1, CV_8UC2, CV_64FC3}) {
        const Dib dib(MatToDib(cv::Mat(4, 5, type, cv::Scalar::all(1))));
        ASSERT_NE(dib, nullptr) << type;
        EXPECT_EQ(dib->m_hBitmap, nullptr);
    }
}

TEST(MatToDib, EmptyMatrixAsksForAnEmptyGreyBitmapWhichIsRefused) {
    EXPECT_EQ(MatToDib(cv::Mat()), nullptr);
}

TEST(MatToDib, RefusedCreateFreesTheBitmapAndIsSilent) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    test::TestHost host;
    for (const int type : {CV_8UC1, CV_8UC3}) {
        const long before = test::liveBitmaps();
        test::failBitmapCreate(1);
        EXPECT_EQ(MatToDib(cv::Mat(4, 5, type, cv::Scalar::all(1))), nullptr);
        EXPECT_EQ(test::liveBitmaps(), before);
    }
    EXPECT_TRUE(host.messages.empty());
}

TEST(RoundTrip, ReproducesEveryPixel) {
    for (const int type : {CV_8UC1, CV_8UC3}) {
        for (int width = 1; width <= 9; ++width) {
            const cv::Mat image = test::noise(6, width, type, 5);
            const Dib back(MatToDib(DibToMat(*test::dibOf(image))));
            ASSERT_NE(back, nullptr);
            EXPECT_THAT(*back, IsIdenticalTo(image));
        }
    }
}

TEST(RoundTrip, GreyBitmapComesBackWithAGreyRamp) {
    const Dib source = test::makeDib(3, 3, 8, 4);
    source->m_bmi.bmiColors[4] = RGBQUAD{9, 8, 7, 0};
    const Dib back(MatToDib(DibToMat(*source)));
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(back->m_bmi.bmiColors[i].rgbBlue, i);
        EXPECT_EQ(back->m_bmi.bmiColors[i].rgbGreen, i);
        EXPECT_EQ(back->m_bmi.bmiColors[i].rgbRed, i);
    }
}

TEST(Bridge, AnyThread) {
    const cv::Mat image = test::noise(50, 61, CV_8UC3);
    const Dib source = test::dibOf(image);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                const Dib back(MatToDib(DibToMat(*source)));
                EXPECT_THAT(*back, IsIdenticalTo(image));
            }
        });
    }
    for (std::thread& t : threads) {
        t.join();
    }
}

} // namespace
