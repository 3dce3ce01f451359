// Photographs so large that the corrected ones are made in the host's bitmap: the same bytes as
// OpenCV's own calls give, and no second copy.
#include "tests/support/counting_allocator.h"
#include "tests/support/export_test.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/matrix_files.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

namespace {

using test::Dib;
using test::IsIdenticalTo;

// 4.2 million pixels: large with 8 bits, too. Odd, so that rows are padded.
const cv::Size size(2101, 2003);

class LargePhotographs : public test::SilentExportTest {
protected:
    const cv::Mat camera = (cv::Mat_<double>(3, 3) << 1900, 0, 1040, 0, 1880, 1010, 0, 0, 1);
    const cv::Mat distortion = (cv::Mat_<double>(1, 5) << -0.2, 0.05, 0.001, -0.002, 0);
    const cv::Mat projection =
        (cv::Mat_<double>(3, 4) << 1950, 0, 1030, -90, 0, 1950, 1000, 0, 0, 0, 1, 0);
    cv::Mat rotation;
    test::TempFolder folder;

    LargePhotographs() {
        cv::Rodrigues(cv::Vec3d(0.02, -0.01, 0.01), rotation);
        test::store(folder / "cam.xml", "CameraMatrix", camera);
        test::store(folder / "dist.xml", "DistCoeffs", distortion);
        test::store(folder / "M2.xml", "MM2", camera);
        test::store(folder / "D2.xml", "D2", distortion);
        test::store(folder / "R2.xml", "R2", rotation);
        test::store(folder / "P2.xml", "P2", projection);
    }

    // Noise without black, which is the border's.
    static cv::Mat photograph(int type) {
        return test::noise(size.height, size.width, type) | cv::Scalar::all(1);
    }
};

TEST_F(LargePhotographs, AreUndistorted) {
    cv::Mat map1, map2;
    cv::initUndistortRectifyMap(camera, distortion, cv::Mat(), camera, size, CV_32FC1, map1, map2);
    for (const int type : {CV_8UC3, CV_8UC1}) {
        const cv::Mat image = photograph(type);
        cv::Mat expected;
        cv::remap(image, expected, map1, map2, cv::INTER_CUBIC, cv::BORDER_CONSTANT,
                  cv::Scalar(0, 0, 0, 0));
        const Dib source = test::dibOf(image);
        float a = -1;
        float b = -1;
        const Dib result(tx_UseCalib(*source, folder.path().c_str(), &a, &b));
        ASSERT_NE(result, nullptr);
        EXPECT_THAT(*result, IsIdenticalTo(expected));
        EXPECT_EQ(a, map2.at<float>(size.width / 2, size.height / 2));
        EXPECT_EQ(b, map1.at<float>(size.width / 2, size.height / 2));
    }
}

TEST_F(LargePhotographs, AreRectified) {
    cv::Mat map1, map2;
    cv::initUndistortRectifyMap(camera, distortion, rotation, projection, size, CV_32FC1, map1,
                                map2);
    for (const int type : {CV_8UC3, CV_8UC1}) {
        const cv::Mat image = photograph(type);
        cv::Mat expected;
        cv::remap(image, expected, map1, map2, 3, cv::BORDER_CONSTANT, cv::Scalar(0, 0, 0, 0));
        const Dib source = test::dibOf(image);
        const Dib result(tx_UseStereoCalib(*source, folder.path().c_str(), 2));
        ASSERT_NE(result, nullptr);
        EXPECT_THAT(*result, IsIdenticalTo(expected));
    }
}

// Each export copies the image in and makes two maps, and makes its result in the bitmap.
TEST_F(LargePhotographs, HaveNoSecondCopy) {
    for (const int type : {CV_8UC3, CV_8UC1}) {
        const Dib source = test::dibOf(photograph(type));
        const test::CountingDefault usual;
        const test::CountingAllocator& counting = usual.counting;
        const Dib undistorted(tx_UseCalib(*source, folder.path().c_str(), nullptr, nullptr));
        EXPECT_NE(undistorted, nullptr);
        EXPECT_EQ(counting.madeLarge, 3);
        const Dib rectified(tx_UseStereoCalib(*source, folder.path().c_str(), 2));
        EXPECT_NE(rectified, nullptr);
        EXPECT_EQ(counting.madeLarge, 6);
        EXPECT_EQ(counting.alive, 0);
    }
}

} // namespace
