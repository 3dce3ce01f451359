// tx_FindLines where each allocation fails in turn.
#include <tarvix/tarvix.h>

#include "tests/support/fault_injection.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>
#include <opencv2/core/utility.hpp>

#include <exception>

namespace {

TEST(FindLines, WithoutMemoryForThePointsReturnsZeroAndANullPointer) {
    cv::setNumThreads(1); // others' allocations do not fail, and take turns with ours at random
    const test::Dib image = test::dibOf(test::scene(60, 80));
    POINT* points = nullptr;
    (void)tx_FindLines(*image, points); // warm up one-time allocations
    delete[] points;
    int withoutPoints = 0;
    for (long nth = 1;; ++nth) {
        POINT before{};
        points = &before;
        int count = -1;
        bool hasFailed = false;
        {
            const test::FaultInjection fault(test::Fault::allocation, nth);
            try {
                count = tx_FindLines(*image, points);
            } catch (const std::exception&) {
                count = -1; // of OpenCV's allocations
            }
            hasFailed = test::FaultInjection::hasFailed();
        }
        if (!hasFailed) {
            delete[] points;
            break;
        }
        if (points == nullptr) {
            EXPECT_EQ(count, 0);
            ++withoutPoints;
        } else if (points != &before) {
            delete[] points;
        }
    }
    EXPECT_EQ(withoutPoints, 1);
}

} // namespace
