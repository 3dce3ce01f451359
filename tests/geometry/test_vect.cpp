// The vector and rotation toolkit against values worked out by hand or in higher precision.
#include "geometry/vect.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace tarvix;
using Polygon = std::vector<cv::Point2d>;

const Polygon square = {{0, 0}, {1, 0}, {1, 1}, {0, 1}}; // clockwise on the screen

TEST(Vect, SubtractsInPlace) {
    CVect a(5.0, 7.0);
    a -= CVect(1.5, -2.0);
    EXPECT_EQ(a.x, 3.5);
    EXPECT_EQ(a.y, 9.0);
    static_assert(std::has_virtual_destructor_v<CVect>);
    EXPECT_EQ(CVect().x, 0.0);
    EXPECT_EQ(CVect().y, 0.0);
}

TEST(AngleBetween, IsOriented) {
    EXPECT_DOUBLE_EQ(AngleBetween({1, 0}, {0, 1}), pi / 2);
    EXPECT_DOUBLE_EQ(AngleBetween({0, 1}, {1, 0}), 3 * pi / 2);
    EXPECT_DOUBLE_EQ(AngleBetween({3, 0}, {5, 5}), pi / 4);
    EXPECT_DOUBLE_EQ(AngleBetween({5, 5}, {3, 0}), 7 * pi / 4);
}

TEST(AngleBetween, OppositeVectorsMakePi) {
    EXPECT_EQ(AngleBetween({1, 0}, {-1, 0}), pi); // the cross product is 0, not negative
}

TEST(AngleBetween, AZeroVectorMakesARightAngle) {
    EXPECT_EQ(AngleBetween({0, 0}, {1, 0}), std::acos(0.0));
    EXPECT_EQ(AngleBetween({-3, 4}, {0, 0}), std::acos(0.0));
    EXPECT_EQ(AngleBetween({0, 0}, {0, 0}), std::acos(0.0));
}

TEST(AngleBetween, ACosineBeyondOneGivesZeroAndIsNotClamped) {
    // Normalised, some vectors come out a little longer than 1; opposite ones then make 0, not pi.
    int zeros = 0;
    for (int x = 1; x < 60; ++x) {
        for (int y = 1; y < 60; ++y) {
            const double length = std::sqrt(static_cast<double>(x * x + y * y));
            const double ux = x / length;
            const double uy = y / length;
            const double angle = AngleBetween(CVect(x, y), CVect(-x, -y));
            if (ux * -ux + uy * -uy < -1.0) {
                EXPECT_EQ(angle, 0.0);
                ++zeros;
            } else {
                EXPECT_NEAR(angle, pi, 1e-7);
            }
        }
    }
    EXPECT_GT(zeros, 0);
}

TEST(Rotation, SignsAndPlaces) {
    const cv::Matx33d x = RotationX(30);
    const cv::Matx33d y = RotationY(30);
    const cv::Matx33d z = RotationZ(30);
    const double c = std::sqrt(3.0) / 2;
    const auto expectNear = [](const cv::Matx33d& m, const cv::Matx33d& e, double tolerance) {
        EXPECT_LE(cv::norm(m - e, cv::NORM_INF), tolerance) << m;
    };
    expectNear(x, {1, 0, 0, 0, c, -0.5, 0, 0.5, c}, 6e-8);
    expectNear(y, {c, 0, 0.5, 0, 1, 0, -0.5, 0, c}, 2e-16);
    expectNear(z, {c, -0.5, 0, 0.5, c, 0, 0, 0, 1}, 2e-16);
}

TEST(Rotation, TheOneAboutXCarriesSinglePrecision) {
    // On purpose: the pitch has single-precision sine and cosine, yaw and roll double.
    EXPECT_NEAR(RotationX(90)(1, 1), -4.371139e-08, 1e-14);
    // C libraries reduce the angle with more or fewer digits of pi.
    EXPECT_NEAR(RotationY(90)(0, 0), 6.123234e-17, 1e-20);
    EXPECT_NEAR(RotationZ(90)(0, 0), 6.123234e-17, 1e-20);
    for (const double t : {-60.0, -12.3, 0.05, 7.0, 33.3}) {
        const cv::Matx33d x = RotationX(t);
        const auto narrow = static_cast<float>(t * pi / 180.0);
        EXPECT_EQ(x(1, 1), static_cast<double>(std::cos(narrow)));
        EXPECT_EQ(x(2, 1), static_cast<double>(std::sin(narrow)));
        EXPECT_EQ(x(1, 2), -x(2, 1));
        EXPECT_EQ(x(2, 2), x(1, 1));
        EXPECT_NE(x(2, 1), std::sin(t * pi / 180.0));
        EXPECT_EQ(RotationY(t)(0, 2), std::sin(t * pi / 180.0));
        EXPECT_EQ(RotationZ(t)(1, 0), std::sin(t * pi / 180.0));
    }
}

TEST(Premultiply, AccumulatesFromTheLeft) {
    const cv::Matx33d first(1, 2, 3, 4, 5, 6, 7, 8, 10);
    const cv::Matx33d second(0, 1, 0, 2, 0, 1, 1, 1, 3);
    const cv::Matx33d start(1, 0, 2, 0, 3, 1, 1, 1, 0);
    cv::Matx33d m = start;
    PremultiplyMatrix(first, m);
    PremultiplyMatrix(second, m);
    EXPECT_EQ(m, second * first * start);
}

TEST(Premultiply, SumsFromLeftToRight) {
    const cv::Matx33d row(1e16, 1, -1e16, 0, 0, 0, 0, 0, 0);
    cv::Matx33d m(1, 0, 0, 1, 0, 0, 1, 0, 0);
    PremultiplyMatrix(row, m);
    EXPECT_EQ(m(0, 0), 0.0); // (1e16 + 1) - 1e16, the 1 being lost first
}

TEST(Perspective, RowsAsDefined) {
    const cv::Matx44d p = PerspectiveMatrix(3, 5, 20.0); // near 2, far 20
    const cv::Matx44d expected(3, 0, 0, 0, 0, 5, 0, 0, 0, 0, -22.0 / 18.0, 1, 0, 0, -80.0 / 18.0,
                               0);
    EXPECT_LE(cv::norm(p - expected, cv::NORM_INF), 1e-15);
    const cv::Matx14d point = cv::Matx14d(2, 7, 4, 0) * p;
    EXPECT_EQ(point(0), 6.0);
    EXPECT_EQ(point(1), 35.0);
    EXPECT_EQ(point(3), 4.0);
}

TEST(Centroid, OfASquareAndATriangle) {
    EXPECT_EQ(PolygonCentroid(square), cv::Point2f(0.5F, 0.5F));
    const Polygon triangle = {{0, 0}, {1, 0}, {0, 1}};
    EXPECT_EQ(PolygonCentroid(triangle), cv::Point2f(1.0F / 3.0F, 1.0F / 3.0F));
}

TEST(Centroid, IsNotGuarded) {
    EXPECT_TRUE(std::isnan(PolygonCentroid({}).x));
    const Polygon line = {{0, 0}, {1, 1}, {2, 2}, {3, 3}};
    EXPECT_FALSE(std::isfinite(PolygonCentroid(line).x));
    EXPECT_FALSE(std::isfinite(PolygonCentroid(Polygon{{1, 2}}).y));
}

TEST(Area, SignFollowsTheWinding) {
    EXPECT_EQ(PolygonArea(square), 1.0);
    EXPECT_EQ(PolygonArea(Polygon(square.rbegin(), square.rend())), -1.0);
    EXPECT_EQ(PolygonArea({}), 0.0);
    EXPECT_EQ(PolygonArea(Polygon{{3, 4}}), 0.0);
}

TEST(CentroidAndArea, AgreeWithHigherPrecision) {
    std::mt19937 random(5); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    for (int round = 0; round < 200; ++round) {
        Polygon polygon;
        const int n = 3 + round % 6;
        for (int i = 0; i < n; ++i) { // star-shaped about (500, 300)
            const double angle = 2 * pi * i / n;
            const double radius = 50.0 + static_cast<double>(random() % 400);
            polygon.emplace_back(500 + radius * std::cos(angle), 300 + radius * std::sin(angle));
        }
        long double a = 0, x = 0, y = 0;
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            const cv::Point2d p = polygon[i];
            const cv::Point2d q = polygon[(i + 1) % polygon.size()];
            const long double cross =
                static_cast<long double>(p.x) * q.y - static_cast<long double>(p.y) * q.x;
            a += cross;
            x += (static_cast<long double>(p.x) + q.x) * cross;
            y += (static_cast<long double>(p.y) + q.y) * cross;
        }
        EXPECT_FLOAT_EQ(PolygonCentroid(polygon).x, static_cast<float>(x / (3 * a)));
        EXPECT_FLOAT_EQ(PolygonCentroid(polygon).y, static_cast<float>(y / (3 * a)));
        EXPECT_NEAR(PolygonArea(polygon), static_cast<double>(a / 2),
                    1e-12 * static_cast<double>(a));
    }
}

TEST(Truncate, Saturates) {
    EXPECT_EQ(truncateToInt(2.9), 2);
    EXPECT_EQ(truncateToInt(-2.9), -2);
    EXPECT_EQ(truncateToInt(1e300), std::numeric_limits<int>::max());
    EXPECT_EQ(truncateToInt(-std::numeric_limits<double>::infinity()),
              std::numeric_limits<int>::min());
    EXPECT_EQ(truncateToInt(2147483647.0), std::numeric_limits<int>::max());
    EXPECT_EQ(truncateToInt(std::numeric_limits<double>::quiet_NaN()), 0);
}

} // namespace
