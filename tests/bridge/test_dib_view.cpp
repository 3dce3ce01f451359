// What the module reads of a bitmap, which sizes it refuses beforehand, and how it copies rows.
#include "bridge/dib_bridge.h"
#include "bridge/dib_view.h"

#include "tests/support/identical.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

namespace {

using namespace tarvix;
using test::Dib;

TEST(ViewOf, IsAllZeroForABitmapThatWasNeverCreated) {
    const CDib never;
    const DibView view = viewOf(never);
    EXPECT_EQ(view.bits, nullptr);
    EXPECT_EQ(view.width, 0);
    EXPECT_EQ(view.rows, 0);
    EXPECT_EQ(view.bitCount, 0);
    EXPECT_EQ(view.stride, 0);
}

// Whether the size is refused, or no matrix of it can be made, which is as good here.
bool isRefused(cv::Size size, int type) {
    try {
        return isBeyondBitmaps(size, type);
    } catch (const cv::Exception&) {
        return true;
    }
}

TEST(IsBeyondBitmaps, ARowsBitsFitASignedNumber) {
    EXPECT_FALSE(isRefused({89'478'484, 1}, CV_8UC3)); // 2^31 - 1 with the 31 of the padding
    EXPECT_TRUE(isRefused({89'478'485, 1}, CV_8UC3));
    EXPECT_FALSE(isRefused({268'435'452, 1}, CV_8UC1));
    EXPECT_TRUE(isRefused({268'435'453, 1}, CV_8UC1));
    EXPECT_TRUE(isRefused({INT_MAX, 1}, CV_8UC1));
}

TEST(IsBeyondBitmaps, AllRowsBytesFitAnUnsignedNumber) {
    EXPECT_FALSE(isRefused({4, 1'073'741'823}, CV_8UC1)); // 2^32 - 4 bytes
    EXPECT_TRUE(isRefused({4, 1'073'741'824}, CV_8UC1));
    EXPECT_TRUE(isRefused({1, 1'073'741'824}, CV_8UC1)); // padded to four bytes
    EXPECT_FALSE(isRefused({1, 1'073'741'823}, CV_8UC3));
    EXPECT_TRUE(isRefused({2, 1'073'741'823}, CV_8UC3));
}

TEST(IsBeyondBitmaps, ASizeWithoutPixelsIsNotBeyond) {
    for (const cv::Size& size :
         {cv::Size(0, 0), cv::Size(INT_MAX, 0), cv::Size(0, INT_MAX), cv::Size(-1, INT_MAX),
          cv::Size(INT_MAX, -1), cv::Size(INT_MIN, INT_MIN)}) {
        EXPECT_FALSE(isBeyondBitmaps(size, CV_8UC3)) << size;
    }
}

TEST(DibToMat, AHeaderWithoutWidthGivesAnEmptyMatrix) {
    for (const int bits : {8, 24}) {
        const Dib dib = test::makeDib(4, 4, bits);
        dib->m_bmi.bmiHeader.biWidth = 0;
        EXPECT_TRUE(DibToMat(*dib).empty());
    }
}

// Gives each new matrix a row more than it asked for, so that what is written behind the last one
// shows.
class OneRowMore : public cv::MatAllocator {
public:
    static constexpr unsigned char untouched = 0x77;

    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        std::vector<int> larger(sizes, sizes + dims);
        ++larger[0];
        cv::UMatData* const memory = cv::Mat::getStdAllocator()->allocate(dims, larger.data(), type,
                                                                          data, step, flags, usage);
        std::memset(memory->data, untouched, memory->size);
        return memory;
    }
    bool allocate(cv::UMatData*, cv::AccessFlag, cv::UMatUsageFlags) const override {
        return false;
    }
    void deallocate(cv::UMatData* memory) const override {
        cv::Mat::getStdAllocator()->deallocate(memory);
    }
};

// Rows as long as pages, and a byte longer and shorter.
TEST(DibToMat, WritesNothingBehindTheLastRow) {
    OneRowMore more;
    cv::MatAllocator* const usual = cv::Mat::getDefaultAllocator();
    for (const int width : {1, 4095, 4096, 4097, 8191, 8192, 8193, 12288}) {
        const cv::Mat image = test::noise(3, width, CV_8UC1);
        const Dib dib = test::dibOf(image);
        cv::Mat::setDefaultAllocator(&more);
        const cv::Mat m = DibToMat(*dib);
        cv::Mat::setDefaultAllocator(usual);
        EXPECT_THAT(m, test::IsIdenticalTo(image)) << width;
        const unsigned char* const behind = m.ptr(2) + width;
        EXPECT_EQ(std::count(behind, behind + width, OneRowMore::untouched), width) << width;
    }
}

} // namespace
