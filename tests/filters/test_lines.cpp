// tx_FindLines, called as a host calls it, and the operation behind it.
#include <tarvix/tarvix.h>

#include "filters/lines.h"
#include "tests/support/export_test.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>

namespace {

using test::Dib;

using FindLines = test::SilentExportTest;

// The segments that the export returns, x1, y1, x2, y2.
using Found = std::vector<cv::Vec4i>;

Found find(const cv::Mat& image) {
    POINT* points = nullptr;
    const auto count = static_cast<std::size_t>(tx_FindLines(*test::dibOf(image), points));
    const std::unique_ptr<POINT[]> owned(points);
    Found found;
    for (std::size_t i = 0; i < count; ++i) {
        const POINT a = points[2 * i], b = points[2 * i + 1];
        found.emplace_back(static_cast<int>(a.x), static_cast<int>(a.y), static_cast<int>(b.x),
                           static_cast<int>(b.y));
    }
    return found;
}

// The calls written out with bare numbers: the oracle.
std::vector<cv::Vec4i> literal(const cv::Mat& source, int conversion = 7) {
    cv::Mat grey, binary, edges;
    cv::cvtColor(source, grey, conversion, 0);
    const double t = cv::threshold(grey, binary, 0.0, 255.0, 8);
    cv::Canny(grey, edges, t / 3.0, t, 3, false);
    std::vector<cv::Vec4i> segments;
    const int shortest = std::min(source.cols, source.rows) / 10;
    cv::HoughLinesP(edges, segments, 1.0, 0.017453292519943295, 50, shortest, 10.0);
    return segments;
}

cv::Mat background(cv::Size size) {
    return {size, CV_8UC3, cv::Scalar(230, 235, 225)};
}

TEST_F(FindLines, PhotographsEqualTheLiteralCalls) {
    for (const char* name : {"building.jpg", "home.jpg", "sudoku.png", "fruits.jpg"}) {
        const cv::Mat image = test::photo(name);
        const std::vector<cv::Vec4i> expected = literal(image);
        ASSERT_FALSE(expected.empty()) << name;
        EXPECT_EQ(find(image), expected);
    }
}

// On purpose: the grey image is made with the weights of red and blue exchanged.
TEST_F(FindLines, ExchangedColourWeights) {
    // Red on blue, equally grey with the exchanged weights: no edge, though luminance has one.
    cv::Mat image(200, 200, CV_8UC3, cv::Scalar(0, 0, 200));
    cv::Mat right = image.colRange(100, 200);
    right.setTo(cv::Scalar(76, 0, 0)); // 0.299 * 76 = 0.114 * 200: as grey as the left side
    EXPECT_TRUE(literal(image, cv::COLOR_RGB2GRAY).empty());
    EXPECT_FALSE(literal(image, cv::COLOR_BGR2GRAY).empty());
    EXPECT_TRUE(find(image).empty());
    // Equal luminance, but the exchanged weights give an edge.
    image.setTo(cv::Scalar(200, 0, 0));
    right.setTo(cv::Scalar(0, 0, 76));
    EXPECT_TRUE(literal(image, cv::COLOR_BGR2GRAY).empty());
    EXPECT_FALSE(find(image).empty());
}

TEST_F(FindLines, BarGivesSegmentsAlongItsEdgesInTopDownCoordinates) {
    cv::Mat image = background({640, 480});
    cv::rectangle(image, {0, 100}, {639, 119}, {30, 30, 30}, cv::FILLED);
    const Found found = find(image);
    ASSERT_GE(found.size(), 2U);
    bool top = false, bottom = false;
    for (const cv::Vec4i& segment : found) {
        const cv::Point a(segment[0], segment[1]), b(segment[2], segment[3]);
        EXPECT_LE(std::abs(a.y - b.y), 2);
        EXPECT_GE(std::abs(a.x - b.x), 48);
        const bool atTop = std::abs(a.y - 100) <= 2, atBottom = std::abs(a.y - 119) <= 2;
        EXPECT_TRUE(atTop || atBottom) << a.y;
        top |= atTop;
        bottom |= atBottom;
    }
    EXPECT_TRUE(top && bottom);
}

TEST_F(FindLines, GridGivesBothDirections) {
    cv::Mat image = background({400, 400});
    for (int at = 40; at < 400; at += 80) {
        cv::line(image, {at, 0}, {at, 399}, {20, 20, 20}, 6);
        cv::line(image, {0, at}, {399, at}, {20, 20, 20}, 6);
    }
    const Found found = find(image);
    int level = 0, upright = 0;
    for (const cv::Vec4i& segment : found) {
        const cv::Point a(segment[0], segment[1]), b(segment[2], segment[3]);
        level += std::abs(a.y - b.y) <= 2 ? 1 : 0;
        upright += std::abs(a.x - b.x) <= 2 ? 1 : 0;
    }
    EXPECT_GE(level, 10);
    EXPECT_GE(upright, 10);
}

TEST_F(FindLines, CircleHasNoLongSegment) {
    cv::Mat image = background({500, 500});
    cv::circle(image, {250, 250}, 180, {20, 20, 20}, cv::FILLED);
    const Found found = find(image);
    for (const cv::Vec4i& segment : found) {
        const cv::Point a(segment[0], segment[1]), b(segment[2], segment[3]);
        EXPECT_LT(std::hypot(a.x - b.x, a.y - b.y), 120);
    }
    EXPECT_EQ(found, literal(image));
}

TEST_F(FindLines, NoiseEqualsTheLiteralCalls) {
    const cv::Mat image = test::noise(160, 220, CV_8UC3);
    EXPECT_EQ(find(image), literal(image));
}

TEST_F(FindLines, NothingFoundStillGivesAnArrayToFree) {
    POINT* points = nullptr;
    EXPECT_EQ(tx_FindLines(*test::dibOf(background({64, 48})), points), 0);
    EXPECT_NE(points, nullptr);
    delete[] points;
}

TEST_F(FindLines, TheFormerPointerIsOverwrittenNotFreed) {
    POINT mine{3, 4};
    POINT* points = &mine; // freeing it would end the process
    tx_FindLines(*test::dibOf(background({64, 48})), points);
    EXPECT_NE(points, &mine);
    EXPECT_EQ(mine.x, 3);
    delete[] points;
}

TEST_F(FindLines, ShortestSegmentIsATenthOfTheSmallerSideTruncated) {
    EXPECT_EQ(tarvix::shortestSegment(640, 480), 48);
    EXPECT_EQ(tarvix::shortestSegment(25, 1000), 2);
    EXPECT_EQ(tarvix::shortestSegment(1000, 29), 2);
    EXPECT_EQ(tarvix::shortestSegment(9, 9), 0);
    EXPECT_EQ(tarvix::shortestSegment(0, 0), 0);
}

TEST_F(FindLines, ALineShorterThanTheShortestIsLeftOut) {
    // The same 80-pixel bar: too short for the large image, long enough for the smaller one.
    for (const int side : {1200, 600}) {
        cv::Mat image = background({side, side});
        cv::rectangle(image, {100, 100}, {180, 104}, {0, 0, 0}, cv::FILLED);
        EXPECT_EQ(find(image).empty(), side == 1200) << side;
    }
}

TEST_F(FindLines, NarrowImageUsesItsOwnShortestLength) {
    cv::Mat image = background({25, 1000});
    cv::rectangle(image, {10, 100}, {14, 800}, {0, 0, 0}, cv::FILLED);
    const Found found = find(image);
    EXPECT_FALSE(found.empty());
    EXPECT_EQ(found, literal(image));
}

TEST_F(FindLines, EightBitImageThrowsOpenCvsExceptionToTheHost) {
    POINT mine{};
    POINT* points = &mine;
    EXPECT_THROW(tx_FindLines(*test::makeDib(64, 48, 8), points), cv::Exception);
    EXPECT_EQ(points, &mine) << "written although nothing was found";
}

TEST_F(FindLines, OtherDepthsThrowOpenCvsException) {
    POINT mine{};
    POINT* points = &mine;
    CDib never;
    EXPECT_THROW(tx_FindLines(never, points), cv::Exception);
    for (const int bits : {1, 4, 16, 32}) {
        EXPECT_THROW(tx_FindLines(*test::makeDib(8, 8, bits), points), cv::Exception) << bits;
    }
    EXPECT_EQ(points, &mine);
}

TEST_F(FindLines, TinyImages) {
    for (int width = 1; width <= 9; ++width) {
        for (int height = 1; height <= 9; ++height) {
            const cv::Mat image = test::noise(height, width, CV_8UC3);
            EXPECT_EQ(find(image), literal(image));
        }
    }
}

TEST_F(FindLines, TopDownBitmapIsSearchedUpsideDown) {
    const Dib source = test::makeDib(300, -200, 24, 255);
    std::fill_n(source->m_pBits, 20 * 900, static_cast<unsigned char>(0)); // twenty dark top lines
    POINT* points = nullptr;
    const int count = tx_FindLines(*source, points);
    ASSERT_GT(count, 0);
    EXPECT_NEAR(points[0].y, 179, 3);
    delete[] points;
}

} // namespace
