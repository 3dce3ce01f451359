// Proposals, scored on images with known corners. The seeds are others than those with which the
// constants were chosen (1000 and up).
#include "assist/proposals.h"
#include "tests/assist/rendered.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using tarvix::Proposal;
using tarvix::Quad;

// Segments as tx_FindLines finds them, by the same calls.
std::vector<cv::Vec4i> segmentsOf(const cv::Mat& image) {
    cv::Mat grey, binary, edges;
    cv::cvtColor(image, grey, cv::COLOR_RGB2GRAY);
    const double level = cv::threshold(grey, binary, 0, 255, cv::THRESH_OTSU);
    cv::Canny(grey, edges, level / 3, level, 3);
    std::vector<cv::Vec4i> segments;
    cv::HoughLinesP(edges, segments, 1, CV_PI / 180, 50, std::min(image.cols, image.rows) / 10, 10);
    return segments;
}

double farthest(const Quad& a, const Quad& b) {
    double most = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        most = std::max(most, cv::norm(a[i] - b[i]));
    }
    return most;
}

// Neither crossed nor tiny, whatever it is of.
void expectSound(const Proposal& proposal, cv::Size image) {
    const Quad& q = proposal.corners;
    EXPECT_EQ(tarvix::refusalOf(q), std::nullopt);
    EXPECT_EQ(tarvix::sortedCorners(q), q);
    const double area = 0.5 * (q[2] - q[0]).cross(q[3] - q[1]);
    EXPECT_GT(area, 0.045 * image.area());
    EXPECT_GT(proposal.score, 0.5);
    EXPECT_LE(proposal.score, 1.0);
}

// How many of the images with these seeds are found within 2 % of the diagonal.
int found(test::Rendered (*render)(std::uint64_t), std::uint64_t first, std::uint64_t count) {
    int good = 0;
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        const test::Rendered view = render(seed);
        const auto proposals = tarvix::proposals(view.image, segmentsOf(view.image));
        for (const Proposal& proposal : proposals) {
            expectSound(proposal, view.image.size());
        }
        const double diagonal = std::hypot(view.image.cols, view.image.rows);
        good += !proposals.empty() &&
                        farthest(proposals[0].corners, tarvix::sortedCorners(view.corners)) <=
                            0.02 * diagonal
                    ? 1
                    : 0;
    }
    return good;
}

TEST(Proposals, FindSheets) {
    const int sheets = found(test::renderedSheet, 1, 30);
    RecordProperty("found", sheets);
    EXPECT_GE(sheets, 24) << "80 percent of 30";
}

TEST(Proposals, FindFacades) {
    const int facades = found(test::renderedFacade, 1, 30);
    RecordProperty("found", facades);
    EXPECT_GE(facades, 18) << "60 percent of 30";
}

TEST(Proposals, OfWhatHasNone) {
    std::vector<cv::Mat> images = {
        test::noise(240, 320, CV_8UC3), cv::Mat(240, 320, CV_8UC3, cv::Scalar(9, 99, 200)),
        cv::Mat(1, 1, CV_8UC3, cv::Scalar(1, 2, 3)), cv::Mat(2, 400, CV_8UC1, cv::Scalar(7))};
    cv::Mat ramp(240, 320, CV_8UC1);
    for (int x = 0; x < ramp.cols; ++x) {
        ramp.col(x) = x * 255 / ramp.cols;
    }
    images.push_back(ramp);
    for (const char* name :
         {"fruits.jpg", "baboon.jpg", "butterfly.jpg", "aloeL.jpg", "apple.jpg", "orange.jpg"}) {
        images.push_back(test::photo(name));
    }
    for (std::size_t i = 0; i < images.size(); ++i) {
        const std::vector<cv::Vec4i> none;
        EXPECT_TRUE(
            tarvix::proposals(images[i], images[i].channels() == 3 ? segmentsOf(images[i]) : none)
                .empty())
            << i;
    }
}

TEST(Proposals, AreInPixelsOfTheFullImage) {
    const test::Rendered view = test::renderedSheet(2);
    cv::Mat large;
    cv::resize(view.image, large, {}, 3, 3, cv::INTER_LINEAR);
    const auto sheet = tarvix::proposeSheet(large);
    ASSERT_TRUE(sheet.has_value());
    Quad expected = tarvix::sortedCorners(view.corners);
    for (cv::Point2d& p : expected) {
        p = p * 3 + cv::Point2d(1, 1); // pixel centres
    }
    EXPECT_LE(farthest(sheet->corners, expected), 0.01 * std::hypot(large.cols, large.rows));
}

TEST(Proposals, SegmentsAreTakenAsTheyAre) {
    const test::Rendered view = test::renderedFacade(3);
    std::vector<cv::Vec4i> hostile = segmentsOf(view.image);
    hostile.insert(hostile.end(), {{5, 5, 5, 5}, {-9, -9, 2000000000, 7}, {0, 0, 0, 300}});
    if (const auto facade = tarvix::proposeFacade(view.image, hostile)) {
        expectSound(*facade, view.image.size());
    }
    EXPECT_FALSE(tarvix::proposeFacade(view.image, {}).has_value());
}

} // namespace
