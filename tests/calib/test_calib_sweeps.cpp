// The steps on random input against the calls written out with bare numbers.
#include <tarvix/tarvix.h>

#include "calib/chess_views.h"
#include "calib/stereo_calibrate.h"
#include "calib/undistort.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/matrix_files.h"

#include <gmock/gmock.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <array>
#include <cmath>

namespace {

using test::IsIdenticalTo;

// Colour and grey in turn, without black, which is the border's.
cv::Mat sourceOf(cv::RNG& random, int i) {
    const int rows = 20 + random.uniform(0, 60), columns = 20 + random.uniform(0, 60);
    return test::noise(rows, columns, i % 2 == 0 ? CV_8UC3 : CV_8UC1, random.next()) |
           cv::Scalar::all(1);
}

cv::Mat cameraOf(cv::RNG& random, cv::Size size) {
    const double fx = random.uniform(40., 120.), fy = random.uniform(40., 120.);
    const double cx = size.width * random.uniform(0.3, 0.7);
    const double cy = size.height * random.uniform(0.3, 0.7);
    cv::Mat camera = (cv::Mat_<double>(3, 3) << fx, 0, cx, 0, fy, cy, 0, 0, 1);
    return camera;
}

cv::Mat distortionOf(cv::RNG& random) {
    cv::Mat distortion(1, 5, CV_64F);
    random.fill(distortion, cv::RNG::UNIFORM, -0.05, 0.05);
    return distortion;
}

// Parts of what is seen are outside the source, so that the border shows.
TEST(CalibSweep, UndistortEqualsTheLiteralCalls) {
    cv::RNG random(3);
    for (int i = 0; i < 40; ++i) {
        const cv::Mat source = sourceOf(random, i);
        const cv::Mat camera = cameraOf(random, source.size()), distortion = distortionOf(random);
        cv::Mat map1, map2, expected;
        cv::initUndistortRectifyMap(camera, distortion, {}, camera, source.size(), CV_32FC1, map1,
                                    map2);
        cv::remap(source, expected, map1, map2, 2, 0, cv::Scalar(0, 0, 0, 0));
        test::CountingAllocator memory;
        const tarvix::Undistorted result = tarvix::undistort(source, camera, distortion, &memory);
        EXPECT_EQ(memory.alive, 3); // the image and the maps
        EXPECT_THAT(result.image, IsIdenticalTo(expected)) << i;
        EXPECT_THAT(result.map1, IsIdenticalTo(map1)) << i;
        EXPECT_THAT(result.map2, IsIdenticalTo(map2)) << i;
    }
}

TEST(CalibSweep, RectifyEqualsTheLiteralCalls) {
    cv::RNG random(4);
    for (int i = 0; i < 40; ++i) {
        const cv::Mat source = sourceOf(random, i);
        const cv::Mat camera = cameraOf(random, source.size()), distortion = distortionOf(random);
        cv::Mat rotation, projection(3, 4, CV_64F, cv::Scalar(0));
        cv::Mat turn(3, 1, CV_64F);
        random.fill(turn, cv::RNG::UNIFORM, -0.3, 0.3);
        cv::Rodrigues(turn, rotation);
        cameraOf(random, source.size()).copyTo(projection.colRange(0, 3));
        projection.at<double>(0, 3) = random.uniform(-50., 50.);
        cv::Mat map1, map2, expected;
        cv::initUndistortRectifyMap(camera, distortion, rotation, projection, source.size(),
                                    CV_32FC1, map1, map2);
        cv::remap(source, expected, map1, map2, 3, 0, cv::Scalar(0, 0, 0, 0));
        test::CountingAllocator memory;
        const cv::Mat result =
            tarvix::rectify(source, camera, distortion, rotation, projection, &memory);
        EXPECT_THAT(result, IsIdenticalTo(expected)) << i;
        EXPECT_EQ(memory.made, 3); // the image and the maps
        EXPECT_EQ(memory.alive, 1);
    }
}

TEST(CalibSweep, MapSampleIsTheElementOrNotANumber) {
    std::array<float, 16> memory{};
    for (std::size_t i = 0; i < memory.size(); ++i) {
        memory[i] = static_cast<float>(i);
    }
    const cv::Mat map(3, 4, CV_32F, memory.data()); // what follows it is not the map's
    for (int row = 0; row < 5; ++row) {
        for (int column = 0; column < 7; ++column) {
            const float sample = tarvix::mapSample(map, row, column);
            const int element = 4 * row + column;
            if (element < 12) {
                EXPECT_EQ(sample, static_cast<float>(element));
            } else {
                EXPECT_TRUE(std::isnan(sample)) << row << ' ' << column;
            }
        }
    }
}

// Corners in noise, most of which come to rest nowhere: every step counts.
TEST(CalibSweep, RefinementEqualsTheLiteralCall) {
    cv::RNG random(5);
    for (int i = 0; i < 30; ++i) {
        cv::Mat grey = test::noise(160, 160, CV_8UC1, random.next());
        cv::GaussianBlur(grey, grey, {}, random.uniform(0.5, 3.));
        tarvix::BoardCorners corners;
        for (int k = 0; k < 20; ++k) {
            const float x = random.uniform(30.F, 130.F), y = random.uniform(30.F, 130.F);
            corners.emplace_back(x, y);
        }
        for (const bool isStereo : {false, true}) {
            std::vector<cv::Point2f> expected = corners;
            cv::cornerSubPix(grey, expected, isStereo ? cv::Size(11, 11) : cv::Size(5, 5), {-1, -1},
                             cv::TermCriteria(3, 30, isStereo ? 0.01 : 0.1));
            tarvix::BoardCorners refined = corners;
            tarvix::refineCorners(grey, refined,
                                  isStereo ? tarvix::stereoRefinement : tarvix::monoRefinement);
            EXPECT_EQ(refined, expected) << i;
        }
    }
}

// Two boards that fit nowhere: the estimate does not come to rest, and every step counts.
tarvix::StereoViews boardsInNoise(cv::RNG& random) {
    tarvix::StereoViews views;
    views.imageSize = {3, 2};
    for (int view = 0; view < 2; ++view) {
        views.objectPoints.push_back(tarvix::boardModel({5, 4}, 1));
        for (auto* points : {&views.imagePoints1, &views.imagePoints2}) {
            points->emplace_back();
            for (int i = 0; i < 20; ++i) {
                const double x = random.gaussian(0.5), y = random.gaussian(0.5);
                points->back().emplace_back(static_cast<float>(0.1 * (i % 5) + x),
                                            static_cast<float>(0.1 * (i / 5) + y));
            }
        }
    }
    return views;
}

TEST(CalibSweep, CalibrateStereoEqualsTheLiteralCalls) {
    cv::RNG random(8);
    for (int i = 0; i < 20; ++i) {
        const tarvix::StereoViews views = boardsInNoise(random);
        const cv::Size size = views.imageSize;
        cv::Mat k1, d1, k2, d2, r, t, e, f, r1, r2, p1, p2, q;
        cv::stereoCalibrate(views.objectPoints, views.imagePoints1, views.imagePoints2, k1, d1, k2,
                            d2, size, r, t, e, f, 256, {3, 100, 1e-5});
        cv::stereoRectify(k1, d1, k2, d2, size, r, t, r1, r2, p1, p2, q, 0, -1, {});
        const tarvix::StereoCalibration pair = tarvix::calibrateStereo(views);
        EXPECT_THAT(pair.cameras[0].rotation, IsIdenticalTo(r1)) << i;
        EXPECT_THAT(pair.cameras[1].rotation, IsIdenticalTo(r2)) << i;
        EXPECT_THAT(pair.cameras[0].projection, IsIdenticalTo(p1)) << i;
        EXPECT_THAT(pair.cameras[1].projection, IsIdenticalTo(p2)) << i;
        EXPECT_THAT(pair.reprojection, IsIdenticalTo(q)) << i;
    }
}

TEST(Measurement, ReleasesItsMatrixAtItsEnd) {
    const test::TempFolder folder;
    test::store(folder / "Q.xml", "Q", cv::Mat::eye(4, 4, CV_64F));
    const test::CountingDefault usual;
    {
        tx_Meas3D measurement;
        EXPECT_EQ(measurement.Init(folder.path().c_str()), 1);
        EXPECT_EQ(usual.counting.alive, 1);
    }
    EXPECT_EQ(usual.counting.alive, 0);
}

} // namespace
