// The allocator of large matrices: whose memory it gives, what it advises, what happens without
// memory.
#include "bridge/large_matrices.h"

#include "bridge/dib_bridge.h"
#include "tests/support/advised_memory.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>

#include <memory>

namespace {

using tarvix::largeMatrices;
using test::advisedBytes;

// So large that the C library always maps it anew: no earlier advice reached it.
const cv::Size largeSize(4001, 3001);
constexpr std::size_t largePage = std::size_t{2} << 20;

std::size_t bytesOf(const cv::Mat& m) {
    return m.total() * m.elemSize();
}

cv::Mat made(cv::Size size) {
    cv::Mat m;
    m.allocator = largeMatrices();
    m.create(size, CV_8UC3);
    return m;
}

TEST(LargeMatrices, AreAdvisedUnlessTheyAreSmall) {
    const cv::Mat large = made(largeSize);
    const auto advised = advisedBytes(large.data, bytesOf(large));
    if (!advised) {
        GTEST_SKIP() << "the system does not say which memory is advised";
    }
    EXPECT_GT(*advised, bytesOf(large) - 2 * largePage);
    const cv::Mat little = made({1000, 1000});
    EXPECT_EQ(advisedBytes(little.data, bytesOf(little)), 0U);
    const cv::Mat other(largeSize, CV_8UC3); // others are left as they were
    EXPECT_EQ(advisedBytes(other.data, bytesOf(other)), 0U);
}

TEST(LargeMatrices, MemoryThatIsGivenIsNotAdvised) {
    const std::size_t bytes = 40 * largePage;
    const std::unique_ptr<unsigned char[]> block(new unsigned char[bytes]);
    const int size = static_cast<int>(bytes);
    cv::UMatData* const view = largeMatrices()->allocate(1, &size, CV_8UC1, block.get(), nullptr,
                                                         cv::ACCESS_RW, cv::USAGE_DEFAULT);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->data, block.get());
    EXPECT_EQ(advisedBytes(block.get(), bytes).value_or(0), 0U);
    largeMatrices()->deallocate(view);
}

TEST(LargeMatrices, DibToMatMakesSuch) {
    const cv::Mat image = test::noise(largeSize.height, largeSize.width, CV_8UC3);
    const cv::Mat m = tarvix::DibToMat(*test::dibOf(image));
    EXPECT_THAT(m, test::IsIdenticalTo(image));
    EXPECT_EQ(m.allocator, nullptr); // what becomes of a copy is OpenCV's choice again
    const auto advised = advisedBytes(m.data, bytesOf(m));
    if (!advised) {
        GTEST_SKIP() << "the system does not say which memory is advised";
    }
    EXPECT_GT(*advised, bytesOf(m) - 2 * largePage);
}

TEST(LargeMatrices, AreMadeAndFreedByTheDefaultAllocator) {
    const test::CountingDefault host;
    {
        cv::Mat m = made({100, 50});
        EXPECT_EQ(host.counting.alive, 1);
        m.create(60, 70, CV_32FC1);
        EXPECT_EQ(m.size(), cv::Size(70, 60));
        EXPECT_EQ(host.counting.made, 2);
        EXPECT_EQ(host.counting.alive, 1);
    }
    EXPECT_EQ(host.counting.alive, 0);
}

TEST(LargeMatrices, WithoutMemoryThrowAsTheDefaultAllocatorDoes) {
    const test::CountingDefault host;
    host.counting.toFail = 1; // the default allocator is asked once more
    EXPECT_EQ(made({9, 9}).size(), cv::Size(9, 9));
    host.counting.toFail = 2;
    try {
        made({9, 9});
        FAIL() << "made without memory";
    } catch (const cv::Exception& e) {
        EXPECT_EQ(e.code, cv::Error::StsNoMem);
    }
    EXPECT_EQ(host.counting.alive, 0);
}

} // namespace
