#include "assist/board_search.h"
#include "assist/camera_estimate.h"
#include "tests/calib/views.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

namespace {

using test::boardPattern;

std::vector<cv::Point2f> gridOf(float step) {
    std::vector<cv::Point2f> corners;
    for (int row = 0; row < boardPattern.height; ++row) {
        for (int column = 0; column < boardPattern.width; ++column) {
            corners.emplace_back(static_cast<float>(column) * step, static_cast<float>(row) * step);
        }
    }
    return corners;
}

TEST(BoardSearch, TheWindowFollowsTheSquares) {
    EXPECT_EQ(tarvix::halfWindowFor(gridOf(30), boardPattern), 10);
    EXPECT_EQ(tarvix::halfWindowFor(gridOf(100), boardPattern), 11);
    EXPECT_EQ(tarvix::halfWindowFor(gridOf(3), boardPattern), 2);
    std::vector<cv::Point2f> oneSmall = gridOf(30);
    oneSmall[20].x += 15; // nearer to its neighbour in the row
    EXPECT_NEAR(tarvix::smallestSquare(oneSmall, boardPattern), 15, 1e-4);
    std::vector<cv::Point2f> oneLow = gridOf(30);
    oneLow[20].y += 18; // nearer to its neighbour in the column
    EXPECT_NEAR(tarvix::smallestSquare(oneLow, boardPattern), 12, 1e-4);
}

TEST(BoardSearch, ThePointsHaveTheModulesOrder) {
    const auto points = tarvix::boardPoints({3, 4}, 2.0F);
    ASSERT_EQ(points.size(), 12U);
    EXPECT_EQ(points[1], cv::Point3f(0, 2, 0));
    EXPECT_EQ(points[3], cv::Point3f(2, 0, 0));
}

TEST(BoardSearch, FindsARenderedBoardWhereItIs) {
    const test::KnownCamera camera;
    const cv::Vec3d rotation(0.2, -0.3, 0.1);
    const cv::Vec3d translation(-4, -2.5, 13);
    const cv::Mat view = test::BoardRenderer(camera).view(rotation, translation, 1);
    const auto board = tarvix::searchBoard(view, boardPattern, {});
    ASSERT_TRUE(board);
    EXPECT_EQ(board->imageSize, view.size());
    std::vector<cv::Point3f> model;
    for (int i = 0; i < boardPattern.area(); ++i) {
        model.emplace_back(static_cast<float>(i % 9), static_cast<float>(i / 9), 0.0F);
    }
    std::vector<cv::Point2f> projected;
    cv::projectPoints(model, rotation, translation, camera.matrix, camera.distortion, projected);
    for (std::size_t i = 0; i < model.size(); ++i) {
        EXPECT_LT(cv::norm(board->corners[i] - projected[i]), 0.15) << i;
    }
    EXPECT_FALSE(tarvix::searchBoard(cv::Mat(480, 640, CV_8UC1, cv::Scalar(7)), boardPattern, {}));
    EXPECT_THROW(tarvix::searchBoard({}, boardPattern, {}), cv::Exception);
    EXPECT_THROW(tarvix::searchBoard(view, {2, 6}, {}), cv::Exception);
}

// The second photograph has squares so small that a wide window reaches their neighbours.
TEST(BoardSearch, SmallSquaresAreRefinedInSmallWindows) {
    const auto worst = [](tarvix::CornerWindow window) {
        std::vector<tarvix::SeenBoard> views;
        for (const std::string& file : test::leftPhotos(6)) {
            views.push_back(
                *tarvix::searchBoard(cv::imread(file, cv::IMREAD_GRAYSCALE), boardPattern, window));
        }
        return tarvix::estimateCamera(views, boardPattern, 1.0F).views.at(1).rms;
    };
    EXPECT_GT(worst({11, 0.01}), 0.8);
    EXPECT_LT(worst({}), 0.4);
}

} // namespace
