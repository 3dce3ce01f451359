// The comparison of images, matrices and bitmaps that tests use. A failed one says what differs.
#pragma once

#include <MorvelDib.h>
#include <gmock/gmock.h>
#include <opencv2/core/mat.hpp>

#include <ostream>
#include <utility>

namespace test {

// What IsIdenticalTo() returns: a matcher of GoogleTest.
class IdentityMatcher {
public:
    using is_gtest_matcher = void;

    explicit IdentityMatcher(cv::Mat expected) : m_expected(std::move(expected)) {}

    bool MatchAndExplain(const cv::Mat& actual, std::ostream* explanation) const;
    bool MatchAndExplain(const CDib& actual, std::ostream* explanation) const;
    void DescribeTo(std::ostream* out) const;
    void DescribeNegationTo(std::ostream* out) const;

private:
    cv::Mat m_expected;
};

// Same size, type and bytes. A failure shows the size and the type, how many elements differ, the
// place of the first one and its two values, and for floating-point numbers their distance in units
// in the last place. A NaN is identical to a NaN of the same bits, 0.0 is not identical to -0.0.
//
// An element has all channels of its place. Bitmaps, on either side, are those that matOf() takes.
IdentityMatcher IsIdenticalTo(const cv::Mat& expected);
IdentityMatcher IsIdenticalTo(const CDib& expected);

} // namespace test

// GoogleTest looks for these in the namespaces of the types. Its own choice would print every
// element.
namespace cv {
void PrintTo(const Mat& m, std::ostream* out);
}
void PrintTo(const CDib& dib, std::ostream* out);
