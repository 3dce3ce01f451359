// Corners in any order: sorted, or refused with the same words.
#include "assist/marked_corners.h"
#include "tests/assist/quads.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <limits>

namespace {

using tarvix::Quad;
using tarvix::refusalOf;
using tarvix::sortedCorners;
using test::allOrders;
using testing::HasSubstr;

TEST(MarkedCorners, AllOrdersAreSortedClockwiseFromTheTopLeft) {
    const Quad facade = {cv::Point2d(193.5, 302), {778, 52}, {797, 299}, {192.5, 422}};
    const Quad sheet = {cv::Point2d(73, 85.5), {491, 69.5}, {520, 520.5}, {35.5, 515.5}};
    const Quad floor = {cv::Point2d(200, 300), {440, 310}, {639, 470}, {-40, 460}};
    for (const Quad& expected : {facade, sheet, floor}) {
        const auto orders = allOrders(expected);
        ASSERT_EQ(orders.size(), 24U);
        for (const Quad& order : orders) {
            EXPECT_EQ(refusalOf(order), std::nullopt);
            EXPECT_EQ(sortedCorners(order), expected);
        }
    }
}

TEST(MarkedCorners, ARolledRectangleKeepsItsTopUpToHalfARightAngle) {
    test::View view;
    for (int roll = -44; roll <= 44; roll += 4) {
        view.aboutZ = roll;
        const Quad corners = test::seen(view);
        for (const Quad& order : allOrders(corners)) {
            EXPECT_EQ(sortedCorners(order), corners) << roll;
        }
    }
}

TEST(MarkedCorners, ASquareOnItsCornerBeginsWithTheHighestCorner) {
    const Quad diamond = {cv::Point2d(50, 0), {100, 50}, {50, 100}, {0, 50}};
    for (const Quad& order : allOrders(diamond)) {
        EXPECT_EQ(sortedCorners(order), diamond);
    }
}

TEST(MarkedCorners, SortedCornersOfRandomViewsAreConvexAndClockwise) {
    cv::RNG random(18);
    int convex = 0;
    for (int i = 0; i < 500; ++i) {
        Quad corners;
        for (cv::Point2d& p : corners) {
            p = {random.uniform(0.0, 640.0), random.uniform(0.0, 480.0)};
        }
        if (refusalOf(corners)) {
            for (const Quad& order : allOrders(corners)) {
                EXPECT_EQ(refusalOf(order), refusalOf(corners));
            }
            continue;
        }
        ++convex;
        const Quad sorted = sortedCorners(corners);
        for (std::size_t k = 0; k < 4; ++k) {
            const cv::Point2d along = sorted[(k + 1) % 4] - sorted[k];
            EXPECT_GT(along.cross(sorted[(k + 2) % 4] - sorted[k]), 0);
        }
        for (const Quad& order : allOrders(corners)) {
            EXPECT_EQ(sortedCorners(order), sorted);
        }
    }
    EXPECT_GT(convex, 200);
    EXPECT_LT(convex, 450);
}

// Every order is refused with the same sentence, which contains these words.
void expectRefused(const Quad& corners, const std::string& words) {
    const auto refusal = refusalOf(corners);
    ASSERT_TRUE(refusal.has_value()) << words;
    EXPECT_THAT(*refusal, HasSubstr(words));
    for (const Quad& order : allOrders(corners)) {
        EXPECT_EQ(refusalOf(order), refusal);
    }
}

TEST(MarkedCorners, WhatNoRectangleHasIsRefused) {
    expectRefused({cv::Point2d(100, 100), {200, 200}, {300, 300}, {400, 400}}, "on one line");
    expectRefused({cv::Point2d(7, 0), {7, 100}, {7, 230}, {7, 300}}, "on one line");
    expectRefused({cv::Point2d(0, 0), {100, 0}, {200, 0.5}, {90, 80}}, "all but 90,80");
    expectRefused({cv::Point2d(0, 0), {100, 0}, {100, 0.5}, {90, 80}},
                  "100,0 and 100,0.5 coincide");
    expectRefused({cv::Point2d(0, 0), {100, 0}, {50, 30}, {50, 90}}, "50,30 is inside");
    expectRefused({cv::Point2d(5, 5), {5, 5}, {5, 5}, {5, 5}}, "coincide");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double bad : {nan, infinity, -infinity, 1.1e6, -1e300}) {
        expectRefused({cv::Point2d(0, 0), {100, 0}, {100, bad}, {0, 100}}, "million");
        expectRefused({cv::Point2d(0, 0), {100, 0}, {bad, 100}, {0, 100}}, "million");
    }
}

TEST(MarkedCorners, ThinRectanglesAreTaken) {
    EXPECT_EQ(refusalOf({cv::Point2d(0, 0), {1000, 0}, {1000, 4}, {0, 4}}), std::nullopt);
    EXPECT_EQ(refusalOf({cv::Point2d(-9, -9), {-5, -9}, {-5, -6}, {-9, -6}}), std::nullopt);
}

} // namespace
