// The family's operations on random and hostile input: the convergence correction against its
// definition written out, the warps against OpenCV's calls with bare numbers. To the bit.
#include "geometry/converge.h"
#include "geometry/projective_warp.h"
#include "geometry/vect.h"
#include "tests/geometry/literal_scan.h"
#include "tests/geometry/quad_cases.h"
#include "tests/geometry/trig_inputs.h"
#include "tests/support/export_test.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace tarvix;
using tarvix::test::hostileCases;
using tarvix::test::literalCorrection;
using tarvix::test::QuadCase;
using tarvix::test::uniform;
using ::test::IsIdenticalTo;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double none = std::numeric_limits<double>::quiet_NaN();

// For comparisons of bits: whatever is not a number is one value, its sign and payload say nothing.
cv::Mat numbersOf(const std::vector<double>& values) {
    cv::Mat numbers(values, true);
    for (int i = 0; i < numbers.rows; ++i) {
        auto& number = numbers.at<double>(i);
        number = std::isnan(number) ? none : number;
    }
    return numbers;
}
cv::Mat numbersOf(const Corners& c) {
    return numbersOf({c[0].x, c[0].y, c[1].x, c[1].y, c[2].x, c[2].y, c[3].x, c[3].y});
}

// Usually within the usual range, now and then one of the extremes.
template <std::size_t N>
double number(std::mt19937_64& random, double from, double to, const double (&extremes)[N]) {
    return random() % 10 == 0 ? extremes[random() % N] : uniform(random, from, to);
}

Pose anyPose(std::mt19937_64& random) {
    constexpr double angles[] = {0.0, -0.0, 90.0, -90.0, 180.0, 1e6, 1e300, infinity, none};
    constexpr double focals[] = {0.0, -0.0, 1e-3, -35.0, 1e9, 1e300, infinity, none};
    Pose pose;
    pose.pitchDeg = number(random, -70.0, 70.0, angles);
    pose.yawDeg = number(random, -70.0, 70.0, angles);
    pose.rollDeg = number(random, -70.0, 70.0, angles);
    pose.focalMm = number(random, 1.0, 60.0, focals);
    return pose;
}

CorrectionOptions anyOptions(std::mt19937_64& random) {
    constexpr double scales[] = {1.0, 0.0, -1.0, 1e-300, 1e300, infinity, none};
    constexpr double offsets[] = {0.0, -0.0, 1e-9, 1e17, -1e300, infinity, none};
    CorrectionOptions options;
    options.scale = number(random, 0.1, 3.0, scales);
    options.offsetX = number(random, -500.0, 500.0, offsets);
    options.offsetY = number(random, -500.0, 500.0, offsets);
    return options;
}

// Any four corners in and around an image of odd size.
MarkedQuad plainQuad(std::mt19937_64& random) {
    MarkedQuad quad{{401, 303}, {}};
    for (cv::Point2d& p : quad.corners) {
        p.y = uniform(random, -30.0, 330.0);
        p.x = uniform(random, -40.0, 440.0);
    }
    return quad;
}

TEST(CorrectionSweep, CorrectedCornersEqualTheDefinition) {
    std::mt19937_64 random(41); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    int finite = 0;
    for (const QuadCase& c : hostileCases(31, 3000)) {
        for (const MarkedQuad& quad : {c.quad, plainQuad(random)}) {
            const Pose pose = anyPose(random);
            CorrectionOptions options = anyOptions(random);
            for (const bool pitchOnly : {false, true}) {
                options.pitchOnly = pitchOnly;
                const cv::Mat expected = numbersOf(literalCorrection(quad, pose, options));
                EXPECT_THAT(numbersOf(correctCorners(quad, pose, options)), IsIdenticalTo(expected))
                    << c.name << (pitchOnly ? ", the pitch only" : "");
                finite += cv::checkRange(expected) ? 1 : 0;
            }
        }
    }
    EXPECT_GT(finite, 3000);
}

TEST(CorrectionSweep, ErrorsEqualTheDefinition) {
    std::mt19937_64 random(42); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    int finite = 0;
    for (const QuadCase& c : hostileCases(7, 3000)) {
        for (const MarkedQuad& quad : {c.quad, plainQuad(random)}) {
            const Pose pose = anyPose(random);
            const Corners q =
                projectOntoCentroid(quad, PolygonCentroid(quad.corners),
                                    rayRotation(pose.pitchDeg, pose.yawDeg, pose.rollDeg),
                                    Lens(quad.image, pose.focalMm));
            const cv::Mat expected =
                numbersOf({tarvix::test::literalRightAngleError(quad, pose),
                           tarvix::test::literalAxisAlignmentError(quad, pose)});
            EXPECT_THAT(numbersOf({RightAngleError(q), AxisAlignmentError(q)}),
                        IsIdenticalTo(expected))
                << c.name;
            finite += cv::checkRange(expected) ? 1 : 0;
        }
    }
    EXPECT_GT(finite, 2000);
}

TEST(CorrectionSweep, AnglesEqualTheDefinition) {
    std::mt19937_64 random(43); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    constexpr double lengths[] = {0.0, -0.0, 1e-200, 5e-324, 1e160, infinity, none};
    for (int i = 0; i < 20000; ++i) {
        std::array<double, 4> v{};
        for (double& component : v) {
            component = number(random, -3.0, 3.0, lengths);
        }
        if (i % 4 == 0) { // along one line
            const double factor = uniform(random, -2.0, 2.0);
            v[2] = v[0] * factor;
            v[3] = v[1] * factor;
        }
        EXPECT_THAT(numbersOf({AngleBetween({v[0], v[1]}, {v[2], v[3]})}),
                    IsIdenticalTo(numbersOf({tarvix::test::literalAngle(v[0], v[1], v[2], v[3])})))
            << i;
    }
}

// The four-point warp.

struct LiteralCanvas {
    cv::Mat transform;
    cv::Size size;
    cv::Size sizeOfDoubles; // if the spread were taken in double precision
};

LiteralCanvas literalCanvas(const std::vector<cv::Point2f>& from,
                            const std::vector<cv::Point2f>& to) {
    float minX = FLT_MAX, minY = FLT_MAX, maxX = FLT_MIN, maxY = FLT_MIN;
    for (const cv::Point2f& p : to) {
        minX = std::min(minX, p.x);
        minY = std::min(minY, p.y);
        maxX = std::max(maxX, p.x);
        maxY = std::max(maxY, p.y);
    }
    cv::Mat shift = cv::Mat::eye(3, 3, CV_64F);
    shift.at<double>(0, 2) = -minX;
    shift.at<double>(1, 2) = -minY;
    const float spreadX = maxX - minX, spreadY = maxY - minY;
    const auto size = [](double x, double y) {
        return cv::Size(static_cast<int>(std::trunc(x + 0.5)),
                        static_cast<int>(std::trunc(y + 0.5)));
    };
    return {cv::Mat(shift * cv::getPerspectiveTransform(from, to, 0)), size(spreadX, spreadY),
            size(double{maxX} - minX, double{maxY} - minY)};
}

TEST(WarpSweep, CanvasesEqualTheLiteralCalls) {
    std::mt19937_64 random(44); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    int roundedOtherwise = 0;
    for (int i = 0; i < 3000; ++i) {
        std::vector<cv::Point2f> from, to;
        CornersF fromCorners, toCorners;
        for (std::size_t k = 0; k < 4; ++k) {
            const auto coordinate = [&](double reach) {
                return static_cast<float>(uniform(random, i % 5 == 0 ? -reach : -1.0, reach));
            };
            const double reach = k == 2 ? std::pow(10.0, i % 8) : 100.0;
            const float x = coordinate(reach), y = coordinate(reach);
            const float column = coordinate(640.0), row = coordinate(480.0);
            // All targets left of the origin, above it, both, neither.
            toCorners[k] = {i % 4 < 2 ? x : -std::abs(x), i % 4 % 2 == 0 ? y : -std::abs(y)};
            fromCorners[k] = {column, row};
            to.push_back(toCorners[k]);
            from.push_back(fromCorners[k]);
        }
        const LiteralCanvas expected = literalCanvas(from, to);
        const ProjectiveCanvas canvas = fitCanvas(fromCorners, toCorners);
        EXPECT_EQ(canvas.size, expected.size) << i;
        EXPECT_THAT(cv::Mat(canvas.canvasFromImage), IsIdenticalTo(expected.transform)) << i;
        roundedOtherwise += expected.size == expected.sizeOfDoubles ? 0 : 1;
    }
    EXPECT_GT(roundedOtherwise, 4);
}

// Corners near those of an image, each moved by up to a third of its size.
std::vector<cv::Point2d> around(cv::RNG& random, cv::Size size) {
    std::vector<cv::Point2d> corners = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (cv::Point2d& p : corners) {
        const double dx = random.uniform(-0.33, 0.33), dy = random.uniform(-0.33, 0.33);
        p = {(p.x + dx) * size.width, (p.y + dy) * size.height};
    }
    return corners;
}

std::array<double, 8> arrayOf(const std::vector<cv::Point2d>& p) {
    return {p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y, p[3].x, p[3].y};
}

std::vector<cv::Point2f> narrowed(const std::vector<cv::Point2d>& points) {
    return {points.begin(), points.end()};
}

class ExportSweep : public ::test::SilentExportTest {
protected:
    cv::RNG random{45};
    cv::Size anySize() {
        const int width = random.uniform(4, 70), height = random.uniform(4, 70);
        return {width, height};
    }
    cv::Mat anyImage(int i) {
        const cv::Size size = anySize();
        return ::test::noise(size.height, size.width, i % 2 == 0 ? CV_8UC3 : CV_8UC1,
                             random.next());
    }
};

TEST_F(ExportSweep, ProjectiveAndItsMaskEqualTheLiteralCalls) {
    for (int i = 0; i < 80; ++i) {
        const cv::Mat image = anyImage(i);
        const auto from = around(random, image.size()), to = around(random, anySize());
        const LiteralCanvas canvas = literalCanvas(narrowed(from), narrowed(to));
        const auto warped = [&](const cv::Mat& source) {
            cv::Mat result;
            cv::warpPerspective(source, result, canvas.transform, canvas.size, 1, 0,
                                cv::Scalar(0, 0, 0, 0));
            return result;
        };
        auto src = arrayOf(from), dst = arrayOf(to);
        const ::test::Dib source = ::test::dibOf(image);
        const ::test::Dib projective(tx_Projective(*source, src.data(), dst.data()));
        ASSERT_NE(projective, nullptr);
        EXPECT_THAT(*projective, IsIdenticalTo(warped(image))) << i;
        const ::test::Dib mask(tx_GetProjectiveMask(*source, src.data(), dst.data()));
        ASSERT_NE(mask, nullptr);
        const cv::Mat full(image.size(), CV_8UC1, cv::Scalar(255, 255, 255, 0));
        EXPECT_THAT(*mask, IsIdenticalTo(warped(full))) << i;
    }
}

TEST_F(ExportSweep, ScaledAndAlignedEqualTheLiteralCalls) {
    for (int i = 0; i < 80; ++i) {
        const cv::Mat image = anyImage(i);
        const cv::Size frame = anySize();
        const auto from = around(random, image.size()), to = around(random, frame);
        const cv::Mat h = cv::findHomography(from, to, 0, 3.0, cv::noArray(), 2000, 0.995);
        const auto warped = [&](cv::Size size, const cv::Scalar& fill) {
            cv::Mat result;
            cv::warpPerspective(image, result, h, size, 1, 0, fill);
            return result;
        };
        auto src = arrayOf(from), dst = arrayOf(to);
        const ::test::Dib source = ::test::dibOf(image);
        const ::test::Dib scaled(tx_ConvergeScaled(*source, src.data(), dst.data()));
        ASSERT_NE(scaled, nullptr);
        EXPECT_THAT(*scaled, IsIdenticalTo(warped(image.size(), cv::Scalar(255, 255, 255, 0))))
            << i;
        const ::test::Dib reference = ::test::makeDib(frame.width, frame.height, 8);
        const int blue = random.uniform(0, 256), green = random.uniform(0, 256);
        const ::test::Dib aligned(
            tx_PerspAlign(*source, *reference, src.data(), dst.data(), blue, green, 77));
        if (image.type() == CV_8UC3) {
            ASSERT_NE(aligned, nullptr);
            EXPECT_THAT(*aligned, IsIdenticalTo(warped(frame, cv::Scalar(blue, green, 77, 0))))
                << i;
        } else {
            EXPECT_EQ(aligned, nullptr) << i;
        }
    }
}

} // namespace
