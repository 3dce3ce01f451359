// Exceptions and objects cross the module's boundary as a host expects.
#include <tarvix/tarvix.h>

#include "tests/support/images.h"
#include "tests/support/observed_bitmaps.h"
#include "tests/support/test_host.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

namespace {

TEST(Boundary, OpenCvExceptionIsCaughtByItsTypeInTheHost) {
    CDib never;
    try {
        tx_Canny(never, 1, 2, 3, 0);
        FAIL() << "nothing was thrown";
    } catch (const cv::Exception& e) {
        EXPECT_STRNE(e.what(), "");
    } catch (...) {
        FAIL() << "the exception lost its type on the way";
    }
}

TEST(Boundary, ResultOutlivesEverythingAndIsDeletedByTheHost) {
    const long before = test::liveBitmaps();
    CDib* result = nullptr;
    {
        const test::Dib source = test::makeDib(9, 9, 24, 100);
        result = tx_Canny(*source, 50, 100, 3, 0);
    }
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(test::matOf(*result).size(), cv::Size(9, 9));
    delete result;
    EXPECT_EQ(test::liveBitmaps(), before);
}

} // namespace
