// The matcher that tests of images trust: what it accepts, and what it says about the rest.
#include "tests/support/identical.h"

#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <opencv2/core.hpp>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using test::IsIdenticalTo;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

// What a failed comparison adds to the report; empty if it holds.
template <class Actual, class Expected>
std::string difference(const Actual& actual, const Expected& expected) {
    testing::StringMatchResultListener listener;
    const bool holds = testing::ExplainMatchResult(IsIdenticalTo(expected), actual, &listener);
    EXPECT_EQ(listener.str().empty(), holds) << "only a difference has an explanation";
    return listener.str();
}

template <class T>
cv::Mat rowOf(std::initializer_list<T> values) {
    return cv::Mat(std::vector<T>(values), true).reshape(0, 1);
}

TEST(IsIdenticalTo, TakesEqualMatricesWhereverTheyAre) {
    const cv::Mat image = test::noise(9, 7, CV_8UC3);
    EXPECT_THAT(image, IsIdenticalTo(image));
    EXPECT_THAT(image.clone(), IsIdenticalTo(image));
    const cv::Mat part = image(cv::Rect(2, 1, 4, 5)); // rows with a gap between them
    EXPECT_THAT(part, IsIdenticalTo(part.clone()));
    EXPECT_THAT(cv::Mat(), IsIdenticalTo(cv::Mat()));
}

TEST(IsIdenticalTo, SaysThatTheSizeOrTheTypeDiffers) {
    const cv::Mat image(4, 3, CV_8UC3, cv::Scalar::all(1));
    EXPECT_EQ(difference(image, image.t()), "which has another size");
    EXPECT_EQ(difference(image, cv::Mat(4, 3, CV_8UC1, cv::Scalar(1))), "which has another type");
    EXPECT_EQ(difference(image, cv::Mat(4, 3, CV_8SC3, cv::Scalar(1))), "which has another type");
    EXPECT_EQ(difference(cv::Mat(), image), "which has another size");
    EXPECT_EQ(testing::DescribeMatcher<cv::Mat>(IsIdenticalTo(image)),
              "is identical to 4 rows, 3 columns of CV_8UC3");
    EXPECT_EQ(testing::DescribeMatcher<cv::Mat>(Not(IsIdenticalTo(image.row(0)))),
              "differs from 1 row, 3 columns of CV_8UC3");
    EXPECT_EQ(testing::PrintToString(image), "4 rows, 3 columns of CV_8UC3") << "no elements";
}

TEST(IsIdenticalTo, SaysHowManyElementsDifferAndShowsTheFirst) {
    const cv::Mat expected(4, 3, CV_8UC3, cv::Scalar(10, 20, 30));
    cv::Mat actual = expected.clone();
    actual.at<cv::Vec3b>(3, 0) = {0, 0, 0};
    actual.at<cv::Vec3b>(1, 2) = {10, 255, 30};
    actual.at<cv::Vec3b>(1, 1)[2] = 31; // the last channel of the element counts
    EXPECT_EQ(difference(actual, expected), "which differs in 3 of 12 elements, first at row 1, "
                                            "column 1: [10, 20, 31] instead of [10, 20, 30]");
}

TEST(IsIdenticalTo, ShowsWholeNumbersOfEveryDepth) {
    const auto shown = [](int type) {
        cv::Mat actual(1, 2, type, cv::Scalar(100)), expected = actual.clone();
        actual.col(1).setTo(99);
        return difference(actual, expected);
    };
    for (const int type : {CV_8UC1, CV_8SC1, CV_16UC1, CV_16SC1, CV_32SC1}) {
        EXPECT_THAT(shown(type), EndsWith("column 1: 99 instead of 100")) << cv::typeToString(type);
    }
    EXPECT_THAT(difference(rowOf<int>({-1}), rowOf<int>({1})), EndsWith(": -1 instead of 1"));
}

TEST(IsIdenticalTo, CountsUnitsInTheLastPlace) {
    const double one = 1, next = std::nextafter(one, 2), before = std::nextafter(one, 0);
    EXPECT_THAT(difference(rowOf({one, next}), rowOf({one, one})),
                EndsWith(": 1.0000000000000002 instead of 1, 1 unit in the last place apart"));
    EXPECT_THAT(difference(rowOf({before}), rowOf({next})),
                EndsWith(", 2 units in the last place apart"));
    EXPECT_THAT(difference(rowOf({-next}), rowOf({-one})),
                EndsWith(", 1 unit in the last place apart"));
    EXPECT_THAT(difference(rowOf({1.0F}), rowOf({std::nextafter(1.0F, 2.0F)})),
                EndsWith(": 1 instead of 1.00000012, 1 unit in the last place apart"));
    const double least = std::numeric_limits<double>::denorm_min();
    EXPECT_THAT(difference(rowOf({least}), rowOf({-least})),
                EndsWith(", 3 units in the last place apart"));
}

TEST(IsIdenticalTo, NamesTheLargestDistanceIfItIsNotTheFirst) {
    const double one = 1, next = std::nextafter(one, 2), third = std::nextafter(next, 2);
    EXPECT_THAT(
        difference(rowOf({next, third}), rowOf({one, one})),
        EndsWith(
            "1 unit in the last place apart, at most 2 units in the last place apart elsewhere"));
    EXPECT_THAT(difference(rowOf({third, next}), rowOf({one, one})),
                EndsWith(" instead of 1, 2 units in the last place apart"));
}

TEST(IsIdenticalTo, ComparesBitsNotValues) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(rowOf({nan}), IsIdenticalTo(rowOf({nan})));
    EXPECT_THAT(difference(rowOf({0.0}), rowOf({-0.0})),
                EndsWith(": 0 instead of -0, 1 unit in the last place apart"));
    EXPECT_THAT(difference(rowOf({nan, 1.0}), rowOf({1.0, 1.0})), EndsWith(": nan instead of 1"));
}

TEST(IsIdenticalTo, TakesBitmapsOnEitherSide) {
    for (const int type : {CV_8UC1, CV_8UC3}) {
        const cv::Mat image = test::noise(5, 7, type);
        cv::Mat other = image.clone();
        *other.ptr(4, 6) ^= 1;
        const test::Dib dib = test::dibOf(image), otherDib = test::dibOf(other);
        EXPECT_THAT(*dib, IsIdenticalTo(image));
        EXPECT_THAT(image, IsIdenticalTo(*dib));
        EXPECT_THAT(*dib, IsIdenticalTo(*test::dibOf(image)));
        EXPECT_THAT(*dib, Not(IsIdenticalTo(other)));
        EXPECT_THAT(difference(*otherDib, *dib),
                    HasSubstr("1 of 35 elements, first at row 4, column 6"));
    }
    EXPECT_EQ(testing::PrintToString(*test::makeDib(5, -4, 32)),
              "a bitmap of 5 x -4 pixels, 32 bits each");
}

TEST(IsIdenticalTo, IgnoresPaddingAndRefusesBitmapsThatItCannotRead) {
    const test::Dib one = test::makeDib(5, 4, 8, 1), two = test::makeDib(5, 4, 8, 1);
    one->m_pBits[6] = 77; // behind the first row's five pixels
    EXPECT_THAT(*one, IsIdenticalTo(*two));
    EXPECT_THROW(IsIdenticalTo(*test::makeDib(5, 4, 32)), std::invalid_argument);
    EXPECT_THROW(IsIdenticalTo(*test::makeDib(5, -4, 24)), std::invalid_argument);
    EXPECT_THAT(CDib(), IsIdenticalTo(cv::Mat())); // never created
}

// The report of a failed test, as a developer reads it.
TEST(IsIdenticalTo, TheReportHasBothSizesAndTheDifference) {
    testing::TestPartResultArray failures;
    const cv::Mat expected(1, 2, CV_8UC1, cv::Scalar(5));
    {
        const testing::ScopedFakeTestPartResultReporter reporter(&failures);
        EXPECT_THAT(cv::Mat(1, 2, CV_8UC1, cv::Scalar(4)), IsIdenticalTo(expected));
    }
    ASSERT_EQ(failures.size(), 1);
    EXPECT_THAT(failures.GetTestPartResult(0).message(),
                AllOf(HasSubstr("Expected: is identical to 1 row, 2 columns of CV_8UC1"),
                      HasSubstr("Actual: 1 row, 2 columns of CV_8UC1"),
                      HasSubstr("2 of 2 elements, first at row 0, column 0: 4 instead of 5")));
}

} // namespace
