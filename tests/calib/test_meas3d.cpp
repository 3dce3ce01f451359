// Points in space from pairs of points.
#include "tests/calib/views.h"
#include "tests/support/files.h"
#include "tests/support/matrix_files.h"
#include "tests/support/test_host.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <limits>

namespace {

class Measurement : public testing::Test {
protected:
    test::TestHost host;
    test::TempFolder folder;
    FPoint3D out{-1, -2, -3};

    const cv::Mat example =
        (cv::Mat_<double>(4, 4) << 1, 0, 0, -320, 0, 1, 0, -240, 0, 0, 0, 700, 0, 0, 0.1, 0);

    void storeQ(const cv::Mat& q, const std::string& key = "Q") const {
        test::store(folder / "Q.xml", key, q);
    }

    int measure(tx_Meas3D& meas, FPoint2D p1, FPoint2D p2) {
        out = {-1, -2, -3};
        return meas.CalcXYZ(p1, p2, out);
    }

    void expectPoint(float x, float y, float z) const {
        EXPECT_EQ(out.x, x);
        EXPECT_EQ(out.y, y);
        EXPECT_EQ(out.z, z);
    }

    ~Measurement() override { EXPECT_TRUE(host.messages.empty()); } // never a message
};

TEST_F(Measurement, WithoutInitNothingIsComputed) {
    tx_Meas3D meas;
    EXPECT_EQ(measure(meas, {1, 2}, {3, 4}), 0);
    expectPoint(-1, -2, -3);
}

TEST_F(Measurement, WorkedExample) {
    storeQ(example);
    tx_Meas3D meas;
    ASSERT_EQ(meas.Init(folder.path().c_str()), 1);
    EXPECT_EQ(measure(meas, {400, 250}, {380, 250}), 1);
    expectPoint(30, 5, 350);
}

TEST_F(Measurement, TheOrderOfThePointsDoesNotMatter) {
    storeQ(example);
    tx_Meas3D meas;
    ASSERT_EQ(meas.Init(folder.path().c_str()), 1);
    EXPECT_EQ(measure(meas, {380, 250}, {400, 260}), 1);
    const FPoint3D first = out;
    EXPECT_EQ(measure(meas, {400, 260}, {380, 250}), 1);
    expectPoint(first.x, first.y, first.z);
    EXPECT_EQ(first.y, 5); // the reference is the point with the smaller x
}

TEST_F(Measurement, OnATieTheFirstPointIsTheReference) {
    cv::Mat q = example.clone();
    q.at<double>(3, 3) = 2; // different principal points: no division by zero
    storeQ(q);
    tx_Meas3D meas;
    ASSERT_EQ(meas.Init(folder.path().c_str()), 1);
    EXPECT_EQ(measure(meas, {380, 250}, {380, 300}), 1);
    expectPoint(30, 5, 350);
    EXPECT_EQ(measure(meas, {380, 300}, {380, 250}), 1);
    expectPoint(30, 30, 350);
}

TEST_F(Measurement, ZeroDisparityIsInfinitelyFarAndNoFailure) {
    storeQ(example);
    tx_Meas3D meas;
    ASSERT_EQ(meas.Init(folder.path().c_str()), 1);
    EXPECT_EQ(measure(meas, {380, 250}, {380, 250}), 1);
    const float inf = std::numeric_limits<float>::infinity();
    expectPoint(inf, inf, inf);
    EXPECT_EQ(measure(meas, {100, 100}, {100, 100}), 1);
    expectPoint(-inf, -inf, inf);
}

TEST_F(Measurement, OnlySevenEntriesAreRead) {
    // On purpose: the general product of a 4 x 4 matrix is not formed.
    cv::Mat q(4, 4, CV_64F, cv::Scalar(777));
    for (const auto& [r, c] : {std::pair{0, 0}, {0, 3}, {1, 1}, {1, 3}, {2, 3}, {3, 2}, {3, 3}}) {
        q.at<double>(r, c) = example.at<double>(r, c);
    }
    storeQ(q);
    tx_Meas3D meas;
    ASSERT_EQ(meas.Init(folder.path().c_str()), 1);
    EXPECT_EQ(measure(meas, {400, 250}, {380, 250}), 1);
    expectPoint(30, 5, 350);
}

// A rectification of OpenCV has ones there, other files need not.
TEST_F(Measurement, TheScalesOfBothAxesCount) {
    cv::Mat q = example.clone();
    q.at<double>(0, 0) = 2;
    q.at<double>(1, 1) = 4;
    storeQ(q);
    tx_Meas3D meas;
    ASSERT_EQ(meas.Init(folder.path().c_str()), 1);
    EXPECT_EQ(measure(meas, {400, 250}, {380, 250}), 1);
    expectPoint(220, 380, 350);
}

TEST_F(Measurement, NoFileIsNoFailureOfInit) {
    // On purpose: Init does not test that there is a file. Nothing can be computed then.
    tx_Meas3D meas;
    EXPECT_EQ(meas.Init(folder.path().c_str()), 1);
    EXPECT_EQ(measure(meas, {400, 250}, {380, 250}), 0);
    expectPoint(-1, -2, -3);
    for (const std::string& none : {folder / "nowhere", std::string(400, 'x')}) {
        tx_Meas3D another; // a second Init of the same object would leak the first one's matrix
        EXPECT_EQ(another.Init(none.c_str()), 1);
    }
}

TEST_F(Measurement, AFileWithoutTheKeyHoldsNoMatrix) {
    storeQ(example, "QQ");
    tx_Meas3D meas;
    EXPECT_EQ(meas.Init(folder.path().c_str()), 1);
    EXPECT_EQ(measure(meas, {400, 250}, {380, 250}), 0);
}

TEST_F(Measurement, MatricesOfAnotherKindAreNotComputedWith) {
    for (const cv::Mat& q :
         {cv::Mat(cv::Mat::eye(3, 3, CV_64F)), cv::Mat(cv::Mat::eye(4, 4, CV_32F)),
          cv::Mat(cv::Mat::eye(4, 4, CV_32S)), cv::Mat(cv::Mat::ones(1, 16, CV_64F)),
          cv::Mat(cv::Mat::eye(4, 5, CV_64F)), cv::Mat(cv::Mat::ones(1, 1, CV_64F))}) {
        storeQ(q);
        tx_Meas3D meas;
        EXPECT_EQ(meas.Init(folder.path().c_str()), 1);
        EXPECT_EQ(measure(meas, {400, 250}, {380, 250}), 0);
        expectPoint(-1, -2, -3);
    }
}

TEST_F(Measurement, ADamagedFileFailsSilently) {
    storeQ(example);
    const std::string whole = test::bytesOf(folder / "Q.xml");
    tx_Meas3D meas;
    for (const std::string& bytes :
         {std::string(), whole.substr(0, whole.size() / 2), std::string("<?xml version=\"1.0\"?>"),
          std::string(1000, '\0'), std::string("%YAML:1.0\n---\nQ: 1\n"),
          std::string("{\"Q\": 1}")}) {
        test::writeBytes(folder / "Q.xml", bytes);
        EXPECT_EQ(meas.Init(folder.path().c_str()), 0) << bytes;
        EXPECT_EQ(measure(meas, {400, 250}, {380, 250}), 0);
    }
    std::filesystem::remove(folder / "Q.xml");
    std::filesystem::create_directory(folder / "Q.xml");
    EXPECT_EQ(meas.Init(folder.path().c_str()), 0);
}

TEST_F(Measurement, AFailedInitDropsTheMatrixHeldBefore) {
    storeQ(example);
    tx_Meas3D meas;
    ASSERT_EQ(meas.Init(folder.path().c_str()), 1);
    tx_Meas3D keeper; // frees what the failed Init drops
    keeper = meas;
    test::writeBytes(folder / "Q.xml", "broken");
    EXPECT_EQ(meas.Init(folder.path().c_str()), 0);
    EXPECT_EQ(measure(meas, {400, 250}, {380, 250}), 0);
    EXPECT_EQ(measure(keeper, {400, 250}, {380, 250}), 1);
}

TEST_F(Measurement, AssignmentIsShallow) {
    // On purpose: only the pointer is copied. One of the two must not be destroyed.
    storeQ(example);
    tx_Meas3D owner;
    ASSERT_EQ(owner.Init(folder.path().c_str()), 1);
    alignas(tx_Meas3D) unsigned char place[sizeof(tx_Meas3D)];
    auto* copy = new (place) tx_Meas3D;
    EXPECT_EQ(&(*copy = owner), copy);
    EXPECT_EQ(measure(*copy, {400, 250}, {380, 250}), 1);
    expectPoint(30, 5, 350);
}

TEST_F(Measurement, ASecondInitDoesNotReleaseTheFirstMatrix) {
    // On purpose: a copy made before still uses it.
    storeQ(example);
    tx_Meas3D meas;
    ASSERT_EQ(meas.Init(folder.path().c_str()), 1);
    tx_Meas3D before;
    before = meas;
    cv::Mat q = example.clone();
    q.at<double>(2, 3) = 1400;
    storeQ(q);
    ASSERT_EQ(meas.Init(folder.path().c_str()), 1);
    EXPECT_EQ(measure(meas, {400, 250}, {380, 250}), 1);
    expectPoint(30, 5, 700);
    EXPECT_EQ(measure(before, {400, 250}, {380, 250}), 1);
    expectPoint(30, 5, 350);
}

TEST_F(Measurement, PointsThatAreNoNumbersDoNotHarm) {
    storeQ(example);
    tx_Meas3D meas;
    ASSERT_EQ(meas.Init(folder.path().c_str()), 1);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(measure(meas, {nan, nan}, {nan, 1}), 1);
    EXPECT_TRUE(std::isnan(out.x));
}

} // namespace
