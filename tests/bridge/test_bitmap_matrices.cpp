// Results that are made in the memory of a bitmap: what gets one, what becomes of it, and the same
// bitmap as a copy would be.
#include "bridge/bitmap_matrices.h"

#include "bridge/dib_bridge.h"
#include "bridge/dib_view.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/observed_bitmaps.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <tuple>
#include <utility>

namespace {

using namespace tarvix;
using test::Dib;
using test::IsIdenticalTo;

cv::Mat made(int rows, int columns, int type) {
    cv::Mat m;
    m.allocator = bitmapMatrices();
    m.create(rows, columns, type);
    return m;
}

bool isInBitmap(const cv::Mat& m) {
    return m.u != nullptr && m.u->currAllocator == bitmapMatrices();
}

// Odd and even numbers of rows, with and without padding of the rows.
TEST(BitmapMatrices, BecomeTheBitmapThatTheyAreIn) {
    for (const int type : {CV_8UC1, CV_8UC3}) {
        for (const int rows : {2100, 2101}) {
            for (const int columns : {2004, 2005, 4096, 4097}) {
                const long before = test::liveBitmaps();
                const cv::Mat image = test::noise(rows, columns, type);
                cv::Mat m = made(rows, columns, type);
                ASSERT_TRUE(isInBitmap(m));
                EXPECT_EQ(m.u->size, m.step[0] * static_cast<std::size_t>(rows));
                EXPECT_EQ(m.step[0], static_cast<std::size_t>(storedRowBytes(
                                         columns, static_cast<int>(m.elemSize()) * 8)));
                image.copyTo(m);
                ASSERT_TRUE(isInBitmap(m)); // the size fitted
                const unsigned char* const memory = m.data;
                const Dib dib(resultToDib(std::move(m)));
                ASSERT_NE(dib, nullptr);
                EXPECT_EQ(dib->m_pBits, memory);
                EXPECT_THAT(*dib, IsIdenticalTo(image)) << rows << ' ' << columns;
                const Dib copied(MatToDib(image));
                EXPECT_EQ(std::memcmp(&dib->m_bmi, &copied->m_bmi, sizeof dib->m_bmi), 0);
                if (test::bitmapsAreObserved()) {
                    EXPECT_EQ(test::liveBitmaps(), before + 2);
                }
            }
        }
    }
}

TEST(BitmapMatrices, AreFreedIfNobodyTakesThem) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const long before = test::liveBitmaps();
    {
        const cv::Mat m = made(2100, 2001, CV_8UC3);
        const std::array<cv::Mat, 2> more{m, m};
        EXPECT_EQ(test::liveBitmaps(), before + 1);
    }
    EXPECT_EQ(test::liveBitmaps(), before);
}

TEST(BitmapMatrices, OthersAreCopied) {
    for (const auto& [rows, columns, type] :
         {std::tuple(50, 61, CV_8UC1), std::tuple(50, 61, CV_8UC3),
          std::tuple(2047, 2048, CV_8UC1)}) { // a row less than 4 MB
        cv::Mat m = made(rows, columns, type);
        EXPECT_FALSE(isInBitmap(m));
        const cv::Mat image = test::noise(rows, columns, type);
        image.copyTo(m);
        const Dib dib(resultToDib(m));
        ASSERT_NE(dib, nullptr);
        EXPECT_THAT(*dib, IsIdenticalTo(image));
    }
    EXPECT_TRUE(isInBitmap(made(2048, 2048, CV_8UC1)));
    for (const int type : {CV_8UC4, CV_32FC1, CV_16UC1}) { // no such result becomes a bitmap
        const cv::Mat m = made(2100, 2001, type);
        EXPECT_FALSE(isInBitmap(m));
        const Dib dib(resultToDib(m));
        ASSERT_NE(dib, nullptr);
        EXPECT_EQ(dib->m_hBitmap, nullptr);
    }
    EXPECT_EQ(resultToDib(cv::Mat()), nullptr);
}

TEST(BitmapMatrices, OfMoreDimensionsAreOrdinary) {
    const std::array<int, 3> sizes = {2100, 2003, 1};
    cv::Mat m;
    m.allocator = bitmapMatrices();
    m.create(static_cast<int>(sizes.size()), sizes.data(), CV_8UC1);
    EXPECT_FALSE(isInBitmap(m));
    EXPECT_TRUE(m.isContinuous());
}

// Somebody else looks at the memory: it stays as it is.
TEST(BitmapMatrices, ThatAreSharedAreCopied) {
    const cv::Mat image = test::noise(2100, 2001, CV_8UC3);
    cv::Mat m = made(image.rows, image.cols, image.type());
    image.copyTo(m);
    const cv::Mat other = m;
    const Dib dib(resultToDib(std::move(m)));
    EXPECT_NE(dib->m_pBits, other.data);
    EXPECT_THAT(*dib, IsIdenticalTo(image));
    EXPECT_THAT(other, IsIdenticalTo(image));
}

TEST(BitmapMatrices, PartsOfThemAreCopied) {
    const cv::Mat image = test::noise(2100, 2001, CV_8UC3);
    for (const cv::Rect& part :
         {cv::Rect(0, 0, 2001, 2099), cv::Rect(0, 0, 2000, 2100), cv::Rect(5, 7, 100, 90)}) {
        cv::Mat m = made(image.rows, image.cols, image.type());
        image.copyTo(m);
        m = m(part);
        ASSERT_TRUE(isInBitmap(m));
        const Dib dib(resultToDib(std::move(m)));
        EXPECT_THAT(*dib, IsIdenticalTo(image(part)));
    }
}

TEST(BitmapMatrices, WithoutABitmapAreOrdinary) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const long before = test::liveBitmaps();
    const cv::Mat image = test::noise(2100, 2001, CV_8UC3);
    for (void (*const fail)(long) : {test::failBitmapCreate, test::failBitmapConstruction}) {
        fail(1);
        cv::Mat m = made(image.rows, image.cols, image.type());
        EXPECT_FALSE(isInBitmap(m));
        EXPECT_EQ(test::liveBitmaps(), before);
        image.copyTo(m);
        const Dib dib(resultToDib(m));
        ASSERT_NE(dib, nullptr);
        EXPECT_THAT(*dib, IsIdenticalTo(image));
        fail(1); // of the copy, too
        EXPECT_EQ(resultToDib(m), nullptr);
    }
    EXPECT_EQ(test::liveBitmaps(), before);
}

// A host's own class may round widths up, or have other depths: its bitmap is not written to.
TEST(BitmapMatrices, WithABitmapThatIsNotAsAskedAreOrdinary) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    struct Answer {
        int width, height, bitCount;
    };
    const long before = test::liveBitmaps();
    for (const int type : {CV_8UC1, CV_8UC3}) {
        const cv::Mat image = test::noise(2101, 2003, type);
        const int bitCount = type == CV_8UC1 ? 8 : 24;
        for (const Answer& answer : {Answer{2004, 2101, bitCount}, Answer{1999, 2101, bitCount},
                                     Answer{2003, 2102, bitCount}, Answer{2003, 2100, bitCount},
                                     Answer{2003, 2101, 32 - bitCount}, Answer{2003, 2101, 32}}) {
            SCOPED_TRACE(testing::Message() << answer.width << " x " << answer.height << ", "
                                            << answer.bitCount << " for " << bitCount << " bits");
            test::changeBitmapCreate(answer.width, answer.height, answer.bitCount);
            cv::Mat m = made(image.rows, image.cols, type);
            ASSERT_FALSE(isInBitmap(m));
            EXPECT_EQ(test::liveBitmaps(), before);
            image.copyTo(m);
            const Dib dib(resultToDib(std::move(m)));
            ASSERT_NE(dib, nullptr);
            EXPECT_THAT(*dib, IsIdenticalTo(image));
        }
    }
}

} // namespace
