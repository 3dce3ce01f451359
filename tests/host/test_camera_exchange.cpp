// Cameras in other tools' formats: calib --export and import-calib.
#include "host/camera_exchange.h"
#include "host/failure.h"
#include "tests/calib/views.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/matrix_files.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>

namespace {

using test::expectOneLine;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;

host::ExchangedCamera someCamera() {
    return {{640, 480},
            (cv::Mat_<double>(3, 3) << 532.8, 0, 342.46, 0, 532.92, 233.9, 0, 0, 1),
            (cv::Mat_<double>(1, 5) << -0.28, 0.027, 1.2e-3, -1.3e-5, 0.158)};
}

TEST(CameraFormats, FollowTheExtension) {
    EXPECT_EQ(host::formatOf("a/camera.yml"), host::CameraFormat::OpenCv);
    EXPECT_EQ(host::formatOf("camera.yaml"), host::CameraFormat::Ros);
    EXPECT_EQ(host::formatOf("cameras.txt"), host::CameraFormat::Colmap);
    EXPECT_THROW(host::formatOf("camera.xml"), host::BadUsage);
}

// A point in the camera's frame appears where COLMAP's model puts it, half a pixel further than in
// OpenCV's frame.
TEST(CameraFormats, ColmapsPixelsBeginHalfAPixelEarlier) {
    const host::ExchangedCamera camera = someCamera();
    std::istringstream text(host::cameraFileText(camera, host::CameraFormat::Colmap));
    std::string comment;
    std::getline(text, comment);
    EXPECT_EQ(comment, "# CAMERA_ID, MODEL, WIDTH, HEIGHT, PARAMS[]");
    int id = 0;
    int width = 0;
    int height = 0;
    std::string model;
    text >> id >> model >> width >> height;
    EXPECT_EQ(id, 1);
    EXPECT_EQ(model, "FULL_OPENCV");
    EXPECT_EQ(cv::Size(width, height), camera.imageSize);
    std::vector<double> p(12); // fx fy cx cy k1 k2 p1 p2 k3 k4 k5 k6
    for (double& parameter : p) {
        ASSERT_TRUE(text >> parameter);
    }
    const double x = 0.31;
    const double y = -0.22;
    const double r2 = x * x + y * y;
    const double radial = (1 + p[4] * r2 + p[5] * r2 * r2 + p[8] * r2 * r2 * r2) /
                          (1 + p[9] * r2 + p[10] * r2 * r2 + p[11] * r2 * r2 * r2);
    const double u = x * radial + 2 * p[6] * x * y + p[7] * (r2 + 2 * x * x);
    const double v = y * radial + 2 * p[7] * x * y + p[6] * (r2 + 2 * y * y);
    std::vector<cv::Point2d> shown;
    cv::projectPoints(std::vector<cv::Point3d>{{x, y, 1}}, cv::Vec3d(), cv::Vec3d(), camera.matrix,
                      camera.distortion, shown);
    EXPECT_NEAR(p[0] * u + p[2], shown[0].x + 0.5, 1e-9);
    EXPECT_NEAR(p[1] * v + p[3], shown[0].y + 0.5, 1e-9);
}

TEST(CameraFormats, RosNumbersHaveNoExponent) {
    const std::string text = host::cameraFileText(someCamera(), host::CameraFormat::Ros);
    EXPECT_THAT(text, HasSubstr("distortion_model: plumb_bob\n"));
    EXPECT_THAT(text, HasSubstr("data: [-0.28, 0.027, 0.0012, -0.000013, 0.158]"));
    EXPECT_THAT(text, HasSubstr("data: [532.8, 0, 342.46, 0, 0, 532.92, 233.9, 0, 0, 0, 1, 0]"));
}

class Exchange : public testing::Test {
protected:
    void expectSame(const host::ExchangedCamera& a, const host::ExchangedCamera& b) {
        EXPECT_EQ(a.imageSize, b.imageSize);
        EXPECT_THAT(a.matrix, test::IsIdenticalTo(b.matrix));
        EXPECT_THAT(a.distortion, test::IsIdenticalTo(b.distortion));
    }
    ProgramResult import(const std::string& text) {
        test::writeBytes(folder / "camera.yaml", text);
        return tarvix({"import-calib", folder / "camera.yaml", "-o", set});
    }

    test::TempFolder folder;
    std::string set = folder / "set";
};

#ifdef TARVIX_HAS_YAML
TEST_F(Exchange, BothYamlFormatsComeBackToTheLastBit) {
    for (const char* name : {"camera.yml", "camera.yaml"}) {
        SCOPED_TRACE(name);
        test::writeBytes(folder / name, host::cameraFileText(someCamera(), host::formatOf(name)));
        expectSame(host::readCameraFile(folder / name), someCamera());
    }
}

TEST_F(Exchange, OpenCvsOwnFileIsImportedAndUsed) {
    const ProgramResult run =
        tarvix({"import-calib", test::photoPath("left_intrinsics.yml"), "-o", set});
    ASSERT_EQ(run.status, 0) << run.err;
    const cv::Mat matrix = test::stored(set + "/cam.xml", "CameraMatrix");
    EXPECT_EQ(matrix.at<double>(0, 0), 535.91573396163199);
    EXPECT_EQ(test::stored(set + "/dist.xml", "DistCoeffs").size(), cv::Size(5, 1));
    EXPECT_EQ(tarvix({"undistort", test::photoPath("left05.jpg"), "-o", folder / "out.png",
                      "--calib", set})
                  .status,
              0);
}

TEST_F(Exchange, WhatIsNoCameraIsRefusedAndNothingIsWritten) {
    const std::string matrix = "camera_matrix: {data: [500, 0, 320, 0, 500, 240, 0, 0, 1]}\n";
    const std::string distortion = "distortion_coefficients: {data: [0.1, 0, 0, 0, 0]}\n";
    EXPECT_EQ(import(matrix + distortion + "fisheye_model: 0\n").status, 0);
    std::filesystem::remove_all(set);
    std::string nested;
    for (int i = 0; i < 100000; ++i) {
        nested += '[';
    }
    for (const std::string& text : std::vector<std::string>{
             "", "words", "- 1\n- 2\n", matrix, distortion,
             matrix + "distortion_coefficients: {data: [0.1, 0, 0]}\n",
             matrix + "distortion_coefficients: {data: [0.1, 0, 0, x]}\n",
             matrix + "distortion_coefficients: {data: [0.1, 0, 0, .nan]}\n",
             matrix + distortion + "distortion_model: equidistant\n",
             matrix + distortion + "fisheye_model: 1\n",
             matrix + distortion + "camera_model: fisheye\n",
             "camera_matrix: {data: [500, 0, 0, 0, 500, 0, 320, 240, 1]}\n" + distortion,
             "camera_matrix: {data: [500, 2, 320, 0, 500, 240, 0, 0, 1]}\n" + distortion,
             "camera_matrix: {data: [0, 0, 320, 0, 500, 240, 0, 0, 1]}\n" + distortion,
             "camera_matrix: {data: [1, 2]}\n" + distortion, "a: [1, 2", nested, "%YAML:1.0",
             std::string(2U << 20U, ' ')}) {
        SCOPED_TRACE(text.substr(0, 200));
        const ProgramResult run = import(text);
        expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr("camera.yaml'"));
        EXPECT_FALSE(std::filesystem::exists(set));
    }
    expectOneLine(tarvix({"import-calib", folder / "missing.yml", "-o", set}), 1);
    expectOneLine(tarvix({"import-calib", folder.path(), "-o", set}), 1);
}
#else
TEST_F(Exchange, ABuildWithoutYamlSaysSo) {
    EXPECT_THAT(import("").err, HasSubstr("reads no YAML"));
}
#endif

TEST_F(Exchange, CalibExportsWhatItWrites) {
    std::vector<std::string> words{"calib"};
    for (const std::string& file : test::leftPhotos(3)) {
        words.push_back(file);
    }
    words.insert(words.end(), {"--board", "9x6", "-o", set, "--export"});
    std::vector<std::string> colmap = words;
    colmap.push_back(folder / "cameras.txt");
    ASSERT_EQ(tarvix(colmap).status, 0);
    EXPECT_THAT(test::bytesOf(folder / "cameras.txt"), HasSubstr("\n1 FULL_OPENCV 640 480 "));
    std::vector<std::string> bad = words;
    bad.push_back(folder / "camera.doc");
    std::filesystem::remove_all(set);
    expectOneLine(tarvix(bad), 2);
    EXPECT_FALSE(std::filesystem::exists(set));
#ifdef TARVIX_HAS_YAML
    std::vector<std::string> yaml = words;
    yaml.push_back(folder / "camera.yaml");
    ASSERT_EQ(tarvix(yaml).status, 0);
    const host::ExchangedCamera camera = host::readCameraFile(folder / "camera.yaml");
    EXPECT_THAT(camera.matrix, test::IsIdenticalTo(test::stored(set + "/cam.xml", "CameraMatrix")));
    EXPECT_EQ(camera.imageSize, cv::Size(640, 480));
#endif
}

} // namespace
