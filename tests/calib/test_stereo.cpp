// A camera pair: calibration, rectification, and what measurement makes of it.
#include "calib/stereo_calibrate.h"
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

#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>

#include <omp.h>

namespace {

using test::Dib;
using testing::HasSubstr;
using testing::IsEmpty;

const std::vector<std::pair<std::string, std::string>> stereoFiles{
    {"M1.xml", "MM1"}, {"D1.xml", "D1"}, {"R1.xml", "R1"}, {"P1.xml", "P1"}, {"M2.xml", "MM2"},
    {"D2.xml", "D2"},  {"R2.xml", "R2"}, {"P2.xml", "P2"}, {"Q.xml", "Q"}};

using Matrices = std::map<std::string, cv::Mat>;

// The definition, spelled out with OpenCV's own calls, one image after the other.
Matrices direct(const std::vector<std::string>& files, float square) {
    std::vector<cv::Point3f> model;
    for (int i = 0; i < 6; ++i) {
        for (int j = 0; j < 9; ++j) {
            model.emplace_back(static_cast<float>(i) * square, static_cast<float>(j) * square,
                               0.0F);
        }
    }
    std::vector<std::vector<cv::Point3f>> object;
    std::vector<std::vector<cv::Point2f>> image[2];
    cv::Size size;
    for (std::size_t k = 0; k < files.size(); ++k) {
        const cv::Mat grey = cv::imread(files[k], 0);
        std::vector<cv::Point2f> corners;
        if (!cv::findChessboardCorners(grey, {9, 6}, corners, 3)) {
            throw std::runtime_error("no board in " + files[k]);
        }
        cv::cornerSubPix(grey, corners, {11, 11}, {-1, -1}, {3, 30, 0.01});
        image[k % 2].push_back(corners);
        if (k % 2 == 0) {
            object.push_back(model);
            size = grey.size();
        }
    }
    Matrices m;
    cv::Mat r, t, e, f;
    cv::stereoCalibrate(object, image[0], image[1], m["M1.xml"], m["D1.xml"], m["M2.xml"],
                        m["D2.xml"], size, r, t, e, f, 256, {3, 100, 1e-5});
    cv::stereoRectify(m["M1.xml"], m["D1.xml"], m["M2.xml"], m["D2.xml"], size, r, t, m["R1.xml"],
                      m["R2.xml"], m["P1.xml"], m["P2.xml"], m["Q.xml"], 0, -1.0, cv::Size(),
                      nullptr, nullptr);
    return m;
}

class Stereo : public test::ExportTest {
protected:
    test::TempFolder folder;
    CStringArray files;

    int calibrate(const std::vector<std::string>& names, float square = 1) {
        test::fill(files, names);
        return tx_StereoCalib(files, folder.path().c_str(), 9, 6, square, nullptr);
    }

    [[nodiscard]] Matrices storedSet() const {
        Matrices m;
        for (const auto& [name, key] : stereoFiles) {
            m[name] = test::stored(folder / name, key);
        }
        return m;
    }
};

TEST_F(Stereo, RealPhotographsGiveTheNineFilesOfOpenCvsCallsToTheBit) {
    const auto photos = test::pairPhotos(13);
    ASSERT_EQ(calibrate(photos), 1);
    EXPECT_TRUE(host.messages.empty());
    std::set<std::string> names;
    const Matrices expected = direct(photos, 1);
    Matrices got = storedSet();
    for (const auto& [name, key] : stereoFiles) {
        names.insert(name);
        EXPECT_EQ(got[name].type(), CV_64FC1) << name;
        EXPECT_THAT(got[name], test::IsIdenticalTo(expected.at(name))) << name;
    }
    EXPECT_EQ(test::namesIn(folder.path()), names);
    for (const char* n : {"1", "2"}) {
        EXPECT_EQ(got["M" + std::string(n) + ".xml"].size(), cv::Size(3, 3));
        EXPECT_EQ(got["D" + std::string(n) + ".xml"].size(), cv::Size(5, 1));
        EXPECT_EQ(got["R" + std::string(n) + ".xml"].size(), cv::Size(3, 3));
        EXPECT_EQ(got["P" + std::string(n) + ".xml"].size(), cv::Size(4, 3));
    }
    EXPECT_EQ(got["Q.xml"].size(), cv::Size(4, 4));
}

TEST_F(Stereo, IntrinsicsAreNotEstimatedOnPurpose) {
    // They enter empty and are held fixed: OpenCV takes the unit matrix without distortion.
    ASSERT_EQ(calibrate(test::pairPhotos(2)), 1);
    Matrices m = storedSet();
    for (const std::string n : {"1", "2"}) {
        EXPECT_THAT(m["M" + n + ".xml"], test::IsIdenticalTo(cv::Mat::eye(3, 3, CV_64F)));
        EXPECT_THAT(m["D" + n + ".xml"], test::IsIdenticalTo(cv::Mat::zeros(1, 5, CV_64F)));
    }
}

TEST_F(Stereo, SquareSizeScalesTheBaselineAndNothingElse) {
    const auto photos = test::pairPhotos(2);
    ASSERT_EQ(calibrate(photos, 1), 1);
    Matrices one = storedSet();
    tx_Meas3D measOne;
    ASSERT_EQ(measOne.Init(folder.path().c_str()), 1);
    ASSERT_EQ(calibrate(photos, 25), 1);
    Matrices many = storedSet();
    tx_Meas3D measMany;
    ASSERT_EQ(measMany.Init(folder.path().c_str()), 1);
    // The estimation ends when a step is small, at a slightly different place for each unit.
    const double tolerance = 1e-3;
    for (const std::string name : {"M1.xml", "D1.xml", "M2.xml", "D2.xml"}) {
        EXPECT_THAT(one[name], test::IsIdenticalTo(many[name])) << name;
    }
    for (const std::string name : {"R1.xml", "R2.xml"}) {
        EXPECT_LT(cv::norm(one[name], many[name], cv::NORM_INF), tolerance) << name;
    }
    const double baseline = one["P2.xml"].at<double>(0, 3);
    EXPECT_NE(baseline, 0);
    EXPECT_NEAR(many["P2.xml"].at<double>(0, 3) / baseline, 25, 25 * tolerance);
    FPoint2D p1{300, 200};
    FPoint2D p2{280, 200};
    FPoint3D ofOne{}, ofMany{};
    ASSERT_EQ(measOne.CalcXYZ(p1, p2, ofOne), 1);
    ASSERT_EQ(measMany.CalcXYZ(p1, p2, ofMany), 1);
    EXPECT_NEAR(ofMany.x / ofOne.x, 25, 25 * tolerance);
    EXPECT_NEAR(ofMany.y / ofOne.y, 25, 25 * tolerance);
    EXPECT_NEAR(ofMany.z / ofOne.z, 25, 25 * tolerance);
}

TEST_F(Stereo, OneThreadAndTwoGiveTheSameBytes) {
    const auto photos = test::pairPhotos(4);
    std::map<std::string, std::string> bytes[2];
    const int before = omp_get_max_threads();
    for (const int threads : {1, 2}) {
        omp_set_num_threads(threads);
        ASSERT_EQ(calibrate(photos, 25), 1);
        for (const auto& [name, key] : stereoFiles) {
            bytes[threads - 1][name] = test::bytesOf(folder / name);
        }
    }
    omp_set_num_threads(before);
    EXPECT_EQ(bytes[0], bytes[1]);
}

TEST_F(Stereo, ABoardMissingOnEitherSideSpoilsTheSetSilently) {
    for (const std::size_t position : {0U, 1U, 2U, 3U}) {
        auto photos = test::pairPhotos(2);
        photos[position] = test::photoPath("home.jpg");
        EXPECT_EQ(calibrate(photos), 0);
        EXPECT_TRUE(host.messages.empty());
        EXPECT_THAT(test::namesIn(folder.path()), IsEmpty());
    }
}

TEST_F(Stereo, AnOddCountFailsSilentlyAndDoesNotEndTheProcess) {
    // The camera-2 section asks for a position past the end; its exception is raised after the
    // join.
    for (const int threads : {1, 2}) {
        const int before = omp_get_max_threads();
        omp_set_num_threads(threads);
        auto photos = test::pairPhotos(2);
        photos.pop_back();
        EXPECT_EQ(calibrate(photos), 0);
        EXPECT_EQ(calibrate({photos[0]}), 0);
        omp_set_num_threads(before);
    }
    EXPECT_TRUE(host.messages.empty());
    EXPECT_THAT(test::namesIn(folder.path()), IsEmpty());
}

TEST_F(Stereo, OpenCvsFailuresAreShownOnceAndOnTheCallingThread) {
    struct ThreadHost : test::TestHost {
        int DoMessageBox(LPCSTR text, UINT type, UINT helpId) override {
            EXPECT_EQ(omp_in_parallel(), 0);
            return TestHost::DoMessageBox(text, type, helpId);
        }
    } threadHost;
    for (const std::size_t position : {0U, 1U}) {
        auto photos = test::pairPhotos(1);
        photos[position] = folder / "missing.jpg";
        EXPECT_EQ(calibrate(photos), 0);
    }
    EXPECT_EQ(calibrate({folder / "a.jpg", folder / "b.jpg"}), 0); // both sections raise
    EXPECT_EQ(calibrate({}), 0);
    ASSERT_EQ(threadHost.messages.size(), 4U);
    for (const test::Message& message : threadHost.messages) {
        EXPECT_THAT(message.text, HasSubstr("OpenCV("));
    }
}

TEST_F(Stereo, FilesWrittenBeforeAFailureStay) {
    std::filesystem::create_directory(folder / "P1.xml"); // the fourth cannot be written
    EXPECT_EQ(calibrate(test::pairPhotos(2)), 0);
    ASSERT_EQ(host.messages.size(), 1U);
    EXPECT_THAT(host.messages[0].text, HasSubstr("P1.xml"));
    EXPECT_EQ(test::namesIn(folder.path()),
              (std::set<std::string>{"M1.xml", "D1.xml", "R1.xml", "P1.xml"}));
}

TEST_F(Stereo, TheOtherCalibrationsFilesAreLeftAlone) {
    test::writeBytes(folder / "cam.xml", "another's");
    ASSERT_EQ(calibrate(test::pairPhotos(2)), 1);
    EXPECT_EQ(test::bytesOf(folder / "cam.xml"), "another's");
}

// A set with a sensible geometry.
class Rectification : public Stereo {
protected:
    const test::KnownCamera known;
    cv::Mat rotation[2], projection[2];

    Rectification() {
        const cv::Mat second = (cv::Mat_<double>(3, 3) << 600, 0, 320, 0, 600, 240, 0, 0, 1);
        const cv::Mat bend = (cv::Mat_<double>(1, 5) << -0.1, 0.01, 0, 0, 0);
        cv::Mat r, q;
        cv::Rodrigues(cv::Vec3d(0.02, -0.05, 0.01), r);
        const cv::Mat t = (cv::Mat_<double>(3, 1) << -3.3, 0.05, 0.02);
        cv::stereoRectify(known.matrix, known.distortion, second, bend, known.size, r, t,
                          rotation[0], rotation[1], projection[0], projection[1], q, 0, -1.0);
        test::store(folder / "M1.xml", "MM1", known.matrix);
        test::store(folder / "D1.xml", "D1", known.distortion);
        test::store(folder / "M2.xml", "MM2", second);
        test::store(folder / "D2.xml", "D2", bend);
        for (const int i : {0, 1}) {
            const std::string n = std::to_string(i + 1);
            test::store(folder / ("R" + n + ".xml"), "R" + n, rotation[i]);
            test::store(folder / ("P" + n + ".xml"), "P" + n, projection[i]);
        }
    }

    Dib rectified(CDib& dib, int camera) const {
        return Dib(tx_UseStereoCalib(dib, folder.path().c_str(), camera));
    }
};

TEST_F(Rectification, InterpolationCodeIsThreeOnPurpose) {
    for (const bool grey : {false, true}) {
        for (const int camera : {1, 2}) {
            const cv::Mat image = test::photo(camera == 1 ? "left01.jpg" : "right01.jpg", grey);
            const std::string n = std::to_string(camera);
            cv::Mat map1, map2, expected, cubic;
            cv::initUndistortRectifyMap(test::stored(folder / ("M" + n + ".xml"), "MM" + n),
                                        test::stored(folder / ("D" + n + ".xml"), "D" + n),
                                        rotation[camera - 1], projection[camera - 1], image.size(),
                                        CV_32FC1, map1, map2);
            cv::remap(image, expected, map1, map2, 3, cv::BORDER_CONSTANT, cv::Scalar());
            cv::remap(image, cubic, map1, map2, cv::INTER_CUBIC);
            const Dib dib = rectified(*test::dibOf(image), camera);
            ASSERT_NE(dib, nullptr);
            EXPECT_THAT(*dib, test::IsIdenticalTo(expected));
            EXPECT_THAT(*dib, testing::Not(test::IsIdenticalTo(cubic)));
        }
    }
}

TEST_F(Rectification, EveryCameraButOneIsTheSecond) {
    const Dib image = test::dibOf(test::scene(48, 64));
    const cv::Mat second = test::matOf(*rectified(*image, 2));
    const cv::Mat first = test::matOf(*rectified(*image, 1));
    EXPECT_THAT(first, testing::Not(test::IsIdenticalTo(second)));
    for (const int camera : {0, -5, 3, 1000}) {
        EXPECT_THAT(*rectified(*image, camera), test::IsIdenticalTo(second));
    }
}

TEST_F(Rectification, OneCamerasFilesServeThatCamera) {
    for (const std::string name : {"M2.xml", "D2.xml", "R2.xml", "P2.xml"}) {
        std::filesystem::remove(folder / name);
    }
    const Dib image = test::makeDib(64, 48, 24);
    EXPECT_NE(rectified(*image, 1), nullptr);
    EXPECT_EQ(rectified(*image, 2), nullptr);
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(Rectification, BitmapsThatCannotBeRectified) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    CDib never;
    EXPECT_EQ(rectified(never, 1), nullptr);
    EXPECT_EQ(rectified(*test::makeDib(64, 48, 32), 1), nullptr);
    EXPECT_EQ(host.messages.size(), 2U);
    host.messages.clear();
    const Dib good = test::makeDib(64, 48, 8);
    test::failBitmapCreate(1);
    EXPECT_EQ(rectified(*good, 1), nullptr);
    EXPECT_TRUE(host.messages.empty());
}

} // namespace
