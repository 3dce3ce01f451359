// One camera: calibration and undistortion.
#include "calib/calibrate.h"
#include "calib/undistort.h"
#include "tests/calib/views.h"
#include "tests/support/export_test.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/lists.h"
#include "tests/support/matrix_files.h"
#include "tests/support/observed_bitmaps.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <filesystem>
#include <stdexcept>

namespace {

using test::Dib;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// The definition, spelled out with OpenCV's own calls.
struct Direct {
    cv::Mat camera, distortion;

    explicit Direct(const std::vector<std::string>& files, int steps = 30) {
        const cv::Size pattern = test::boardPattern;
        std::vector<cv::Point3f> model;
        for (int i = 0; i < pattern.height; ++i) {
            for (int j = 0; j < pattern.width; ++j) {
                model.emplace_back(static_cast<float>(i), static_cast<float>(j), 0.0F);
            }
        }
        std::vector<std::vector<cv::Point3f>> object;
        std::vector<std::vector<cv::Point2f>> image;
        cv::Size size;
        for (const std::string& file : files) {
            const cv::Mat grey = cv::imread(file, 0);
            size = grey.size();
            std::vector<cv::Point2f> corners;
            if (!cv::findChessboardCorners(grey, pattern, corners, 3)) {
                throw std::runtime_error("no board in " + file);
            }
            cv::cornerSubPix(grey, corners, {5, 5}, {-1, -1}, {3, 30, 0.1});
            object.push_back(model);
            image.push_back(corners);
        }
        std::vector<cv::Mat> r, t;
        cv::calibrateCamera(object, image, size, camera, distortion, r, t, 0,
                            {3, steps, DBL_EPSILON});
    }
};

class Calibration : public test::ExportTest {
protected:
    test::TempFolder folder;
    CStringArray files;

    int calibrate(const std::vector<std::string>& names, int w = 9, int h = 6) {
        test::fill(files, names);
        return tx_Calib(files, folder.path().c_str(), w, h, nullptr);
    }

    [[nodiscard]] std::vector<std::string> namesHere() const {
        const auto names = test::namesIn(folder.path());
        return {names.begin(), names.end()};
    }

    void storeKnownCamera() const {
        const test::KnownCamera known;
        test::store(folder / "cam.xml", "CameraMatrix", known.matrix);
        test::store(folder / "dist.xml", "DistCoeffs", known.distortion);
    }

    Dib undistort(CDib& dib, float* a = nullptr, float* b = nullptr) const {
        return Dib(tx_UseCalib(dib, folder.path().c_str(), a, b));
    }
};

TEST_F(Calibration, ModelIsTransposedOnPurpose) {
    const std::vector<cv::Point3f> model = tarvix::boardModel({3, 2}, 2.5F);
    const std::vector<cv::Point3f> expected{{0, 0, 0},    {0, 2.5F, 0},    {0, 5, 0},
                                            {2.5F, 0, 0}, {2.5F, 2.5F, 0}, {2.5F, 5, 0}};
    EXPECT_EQ(model, expected);
}

TEST_F(Calibration, RefinementsOfTheTwoCalibrationsDifferOnPurpose) {
    EXPECT_EQ(tarvix::monoRefinement.halfWindow, 5);
    EXPECT_EQ(tarvix::monoRefinement.epsilon, 0.1);
    EXPECT_EQ(tarvix::stereoRefinement.halfWindow, 11);
    EXPECT_EQ(tarvix::stereoRefinement.epsilon, 0.01);
}

TEST_F(Calibration, RealPhotographsGiveWhatOpenCvGivesToTheBit) {
    const auto photos = test::leftPhotos(13);
    ASSERT_EQ(calibrate(photos), 1);
    EXPECT_TRUE(host.messages.empty());
    EXPECT_THAT(namesHere(), UnorderedElementsAre("cam.xml", "dist.xml"));
    const Direct direct(photos);
    const cv::Mat camera = test::stored(folder / "cam.xml", "CameraMatrix");
    const cv::Mat distortion = test::stored(folder / "dist.xml", "DistCoeffs");
    EXPECT_THAT(camera, test::IsIdenticalTo(direct.camera));
    EXPECT_THAT(distortion, test::IsIdenticalTo(direct.distortion));
    EXPECT_EQ(camera.type(), CV_64FC1);
    EXPECT_EQ(camera.size(), cv::Size(3, 3));
    EXPECT_EQ(distortion.size(), cv::Size(5, 1));
    // The values published with OpenCV for these photographs (left_intrinsics.yml): 536 pixels.
    EXPECT_NEAR(camera.at<double>(0, 0), 536, 5);
    EXPECT_NEAR(camera.at<double>(1, 1), 536, 5);
    EXPECT_NEAR(camera.at<double>(0, 2), 342, 5);
    EXPECT_NEAR(camera.at<double>(1, 2), 235, 5);
    EXPECT_NEAR(distortion.at<double>(0), -0.27, 0.05);
}

// One photograph determines so little that some of them are still on their way then.
TEST_F(Calibration, EndsAfterThirtySteps) {
    int onTheirWay = 0;
    for (const std::string& photo : test::leftPhotos(13)) {
        ASSERT_EQ(calibrate({photo}), 1) << photo;
        const std::vector<std::string> one = {photo};
        const Direct direct(one);
        EXPECT_THAT(test::stored(folder / "cam.xml", "CameraMatrix"),
                    test::IsIdenticalTo(direct.camera))
            << photo;
        const Direct next(one, 31);
        onTheirWay += testing::Value(next.camera, test::IsIdenticalTo(direct.camera)) ? 0 : 1;
    }
    EXPECT_GT(onTheirWay, 0);
}

TEST_F(Calibration, ASecondRunReplacesTheFilesInPlace) {
    ASSERT_EQ(calibrate(test::leftPhotos(3)), 1);
    const std::string first = test::bytesOf(folder / "cam.xml");
    test::writeBytes(folder / "M1.xml", "another's");
    ASSERT_EQ(calibrate(test::leftPhotos(4)), 1);
    EXPECT_NE(test::bytesOf(folder / "cam.xml"), first);
    EXPECT_THAT(namesHere(), UnorderedElementsAre("cam.xml", "dist.xml", "M1.xml"));
}

TEST_F(Calibration, OneFileWithoutABoardSpoilsTheSetSilently) {
    auto photos = test::leftPhotos(3);
    photos.insert(photos.begin() + 2, test::photoPath("home.jpg"));
    EXPECT_EQ(calibrate(photos), 0);
    EXPECT_TRUE(host.messages.empty());
    EXPECT_THAT(namesHere(), IsEmpty());
}

TEST_F(Calibration, AnotherPatternIsNotFound) {
    EXPECT_EQ(calibrate(test::leftPhotos(1), 11, 3), 0);
    EXPECT_EQ(calibrate(test::leftPhotos(1), 20, 30), 0);
    EXPECT_TRUE(host.messages.empty());
    // Beyond any image: no memory is asked for such a board.
    EXPECT_EQ(calibrate(test::leftPhotos(1), 40000, 40000), 0);
}

TEST_F(Calibration, OpenCvsFailuresAreShown) {
    EXPECT_EQ(calibrate({}), 0); // nothing to calibrate from
    EXPECT_EQ(calibrate({folder / "missing.jpg"}), 0);
    test::writeBytes(folder / "broken.jpg", "no image");
    EXPECT_EQ(calibrate({folder / "broken.jpg"}), 0);
    EXPECT_EQ(calibrate(test::leftPhotos(1), 2, 6), 0); // a pattern that OpenCV does not take
    EXPECT_EQ(calibrate(test::leftPhotos(1), -9, -6), 0);
    ASSERT_EQ(host.messages.size(), 5U);
    for (const test::Message& message : host.messages) {
        EXPECT_THAT(message.text, HasSubstr("OpenCV("));
        EXPECT_EQ(message.type, 0U);
    }
    EXPECT_THAT(namesHere(), UnorderedElementsAre("broken.jpg"));
}

TEST_F(Calibration, SizeOfTheLastImageCounts) {
    // A larger canvas for the last view moves the principal point that the estimation starts from.
    auto photos = test::leftPhotos(3);
    cv::Mat wide;
    cv::copyMakeBorder(cv::imread(photos[2]), wide, 0, 100, 0, 200, cv::BORDER_CONSTANT,
                       cv::Scalar(90, 90, 90));
    cv::imwrite(folder / "wide.png", wide);
    photos[2] = folder / "wide.png";
    ASSERT_EQ(calibrate(photos), 1);
    const Direct direct(photos);
    EXPECT_THAT(test::stored(folder / "cam.xml", "CameraMatrix"),
                test::IsIdenticalTo(direct.camera));
}

// A known camera, a board rendered through its lens, seeded noise of 2 grey levels.
class KnownWorld : public Calibration {
protected:
    const test::KnownCamera known;
    test::TempFolder views;
    std::vector<std::string> names;

    KnownWorld() {
        for (const cv::Mat& view : test::renderedViews(known)) {
            names.push_back(views / ("view" + std::to_string(names.size()) + ".png"));
            cv::imwrite(names.back(), view);
        }
    }

    // The largest distance, in pixels, of a corner from the line through its row's corners.
    static double bending(const cv::Mat& image) {
        std::vector<cv::Point2f> corners;
        if (!cv::findChessboardCorners(image, test::boardPattern, corners, 3)) {
            return 1e9;
        }
        cv::cornerSubPix(image, corners, {5, 5}, {-1, -1}, {3, 50, 0.001});
        double most = 0;
        for (std::size_t row = 0; row < 6; ++row) {
            const std::vector<cv::Point2f> points(corners.begin() + static_cast<long>(row * 9),
                                                  corners.begin() + static_cast<long>(row * 9 + 9));
            cv::Vec4f line;
            cv::fitLine(points, line, cv::DIST_L2, 0, 0.001, 0.001);
            for (const cv::Point2f& p : points) {
                most = std::max(most, std::abs(static_cast<double>((p.x - line[2]) * line[1] -
                                                                   (p.y - line[3]) * line[0])));
            }
        }
        return most;
    }
};

TEST_F(KnownWorld, IsRecoveredAndStraightLinesBecomeStraight) {
    ASSERT_GE(names.size(), 11U);
    ASSERT_EQ(calibrate(names), 1);
    const cv::Mat camera = test::stored(folder / "cam.xml", "CameraMatrix");
    const cv::Mat distortion = test::stored(folder / "dist.xml", "DistCoeffs");
    // Corners are found to about 0.05 pixels; over 648 of them that leaves a few tenths of a
    // percent.
    EXPECT_NEAR(camera.at<double>(0, 0), 620, 3);
    EXPECT_NEAR(camera.at<double>(1, 1), 615, 3);
    EXPECT_NEAR(camera.at<double>(0, 2), 331, 2);
    EXPECT_NEAR(camera.at<double>(1, 2), 236, 2);
    EXPECT_NEAR(distortion.at<double>(0), -0.28, 0.02);
    EXPECT_NEAR(distortion.at<double>(2), 0.0008, 0.0005);
    EXPECT_NEAR(distortion.at<double>(3), -0.0006, 0.0005);

    double bentBefore = 0;
    double bentAfter = 0;
    for (const std::string& name : names) {
        const cv::Mat view = cv::imread(name, 0);
        const Dib flat = undistort(*test::dibOf(view));
        ASSERT_NE(flat, nullptr);
        const double after = bending(test::matOf(*flat));
        if (after < 1e8) { // the board may have left the image
            bentBefore = std::max(bentBefore, bending(view));
            bentAfter = std::max(bentAfter, after);
        }
    }
    EXPECT_GT(bentBefore, 1.0);
    EXPECT_GT(bentAfter, 0.0);
    EXPECT_LT(bentAfter, 0.3);
}

TEST_F(Calibration, UndistortionIsTheBicubicRemapOnTheCalibratedMatrix) {
    storeKnownCamera();
    const test::KnownCamera known;
    for (const bool grey : {false, true}) {
        const cv::Mat image = test::photo("left01.jpg", grey);
        cv::Mat map1, map2, expected;
        cv::initUndistortRectifyMap(known.matrix, known.distortion, cv::Mat(), known.matrix,
                                    image.size(), CV_32FC1, map1, map2);
        cv::remap(image, expected, map1, map2, cv::INTER_CUBIC, cv::BORDER_CONSTANT,
                  cv::Scalar(0, 0, 0, 0));
        const Dib dib = undistort(*test::dibOf(image));
        ASSERT_NE(dib, nullptr);
        EXPECT_THAT(*dib, test::IsIdenticalTo(expected));
        cv::Mat bilinear;
        cv::remap(image, bilinear, map1, map2, cv::INTER_LINEAR);
        EXPECT_THAT(*dib, testing::Not(test::IsIdenticalTo(bilinear)));
    }
}

TEST_F(Calibration, MapSamplesAreSwappedOnPurpose) {
    // Row from the width, column from the height, and y into the first output.
    storeKnownCamera();
    const test::KnownCamera known;
    cv::Mat map1, map2;
    cv::initUndistortRectifyMap(known.matrix, known.distortion, cv::Mat(), known.matrix, {640, 480},
                                CV_32FC1, map1, map2);
    float a = -1;
    float b = -1;
    ASSERT_NE(undistort(*test::makeDib(640, 480, 8, 7), &a, &b), nullptr);
    EXPECT_EQ(a, map2.at<float>(320, 240));
    EXPECT_EQ(b, map1.at<float>(320, 240));
}

TEST_F(Calibration, MapSamplesNeedBothPointers) {
    storeKnownCamera();
    float value = -1;
    EXPECT_NE(undistort(*test::makeDib(64, 48, 8), nullptr, &value), nullptr);
    EXPECT_NE(undistort(*test::makeDib(64, 48, 8), &value, nullptr), nullptr);
    EXPECT_EQ(value, -1);
}

TEST_F(Calibration, MapSamplesOfWideAndHighImages) {
    storeKnownCamera();
    const test::KnownCamera known;
    for (const cv::Size& size : {cv::Size(64, 33), cv::Size(64, 32), cv::Size(65, 20),
                                 cv::Size(20, 65), cv::Size(1, 1), cv::Size(1, 9)}) {
        cv::Mat map1, map2;
        cv::initUndistortRectifyMap(known.matrix, known.distortion, cv::Mat(), known.matrix, size,
                                    CV_32FC1, map1, map2);
        float a = -1;
        float b = -1;
        ASSERT_NE(undistort(*test::makeDib(size.width, size.height, 24), &a, &b), nullptr);
        // The element of the map row by row, as if there were no end of the row.
        const int element = size.width / 2 * size.width + size.height / 2;
        if (element < size.area()) {
            EXPECT_EQ(a, map2.ptr<float>()[element]) << size;
            EXPECT_EQ(b, map1.ptr<float>()[element]) << size;
        } else {
            EXPECT_TRUE(std::isnan(a)) << size;
            EXPECT_TRUE(std::isnan(b)) << size;
        }
    }
}

TEST_F(Calibration, BitmapsThatCannotBeUndistorted) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    storeKnownCamera();
    float a = -1;
    float b = -1;
    CDib never;
    EXPECT_EQ(undistort(never, &a, &b), nullptr);
    for (const int bits : {1, 4, 16, 32}) {
        EXPECT_EQ(undistort(*test::makeDib(64, 48, bits), &a, &b), nullptr);
    }
    EXPECT_EQ(host.messages.size(), 5U);
    host.messages.clear();
    const Dib good = test::makeDib(64, 48, 24);
    test::failBitmapCreate(1);
    EXPECT_EQ(undistort(*good, &a, &b), nullptr);
    EXPECT_TRUE(host.messages.empty());
    EXPECT_EQ(a, -1);
    EXPECT_EQ(b, -1);
}

TEST_F(Calibration, ImagesBeyondWhatRemapTakesAreOpenCvsToRefuse) {
    storeKnownCamera();
    EXPECT_EQ(undistort(*test::makeDib(40000, 2, 8)), nullptr);
    EXPECT_EQ(host.messages.size(), 1U);
}

TEST_F(Calibration, WithoutAFolder) {
    test::fill(files, test::leftPhotos(3));
    EXPECT_EQ(tx_Calib(files, (folder / "no/such").c_str(), 9, 6, nullptr), 0);
    EXPECT_EQ(tx_Calib(files, std::string(400, 'x').c_str(), 9, 6, nullptr), 0);
    ASSERT_EQ(host.messages.size(), 2U);
    EXPECT_THAT(host.messages[0].text, HasSubstr("cam.xml"));
    EXPECT_FALSE(std::filesystem::exists(folder / "no"));
}

} // namespace
