// Detection, the rule of the largest face, and what is drawn of it.
#include "faces/face_detection.h"

#include "tests/support/pictures.h"

#include <gmock/gmock.h>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

namespace {

using namespace tarvix;
using testing::ElementsAre;
using testing::IsEmpty;

std::array<int, 4> sides(const RECT& face) {
    return {static_cast<int>(face.left), static_cast<int>(face.top), static_cast<int>(face.right),
            static_cast<int>(face.bottom)};
}

TEST(FaceOf, RightAndBottomLieOnePixelBeyond) {
    EXPECT_THAT(sides(faceOf({10, 20, 30, 40})), ElementsAre(10, 20, 40, 60));
    EXPECT_THAT(sides(faceOf({0, 0, 1, 1})), ElementsAre(0, 0, 1, 1));
}

TEST(LargestFace, IsAllZeroWithoutDetections) {
    EXPECT_THAT(sides(largestFace({})), ElementsAre(0, 0, 0, 0));
}

TEST(LargestFace, IsTheOneOfTheLargestArea) {
    const cv::Rect small(5, 6, 40, 40);
    const cv::Rect large(100, 7, 60, 50);
    EXPECT_THAT(sides(largestFace({small, large})), ElementsAre(100, 7, 160, 57));
    EXPECT_THAT(sides(largestFace({large, small})), ElementsAre(100, 7, 160, 57));
    // The area decides, not the longest side.
    EXPECT_THAT(sides(largestFace({{0, 0, 100, 10}, small})), ElementsAre(5, 6, 45, 46));
}

TEST(LargestFace, OfEqualAreasIsTheFirst) {
    EXPECT_THAT(sides(largestFace({{1, 2, 30, 20}, {50, 60, 20, 30}, {70, 80, 30, 20}})),
                ElementsAre(1, 2, 31, 22));
    EXPECT_THAT(sides(largestFace({{50, 60, 20, 30}, {1, 2, 30, 20}})),
                ElementsAre(50, 60, 70, 90));
}

TEST(LargestFace, IgnoresDetectionsWithoutArea) {
    EXPECT_THAT(sides(largestFace({{9, 9, 0, 0}, {8, 8, 5, 0}})), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(sides(largestFace({{9, 9, 0, 0}, {3, 3, 1, 1}})), ElementsAre(3, 3, 4, 4));
}

TEST(LargestFace, AreasBeyond32BitsAreCompared) {
    EXPECT_THAT(sides(largestFace({{0, 0, 10, 10}, {0, 0, 70000, 70000}})),
                ElementsAre(0, 0, 70000, 70000));
}

// Every pixel: white on the outline through (left, top) and (right, bottom), untouched elsewhere.
void expectOutline(const cv::Mat& before, const cv::Mat& after, const RECT& face) {
    int wrong = 0;
    for (int y = 0; y < before.rows; ++y) {
        for (int x = 0; x < before.cols; ++x) {
            const bool inside =
                x >= face.left && x <= face.right && y >= face.top && y <= face.bottom;
            const bool isEdge =
                inside && (x == face.left || x == face.right || y == face.top || y == face.bottom);
            const cv::Vec3b expected =
                isEdge ? cv::Vec3b(255, 255, 255) : before.at<cv::Vec3b>(y, x);
            wrong += after.at<cv::Vec3b>(y, x) != expected ? 1 : 0;
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST(DrawOutline, IsWhiteOnePixelWideAndReachesTheFarCorner) {
    const cv::Mat before = test::scene(60, 80);
    for (const RECT& face : {RECT{10, 20, 40, 50}, RECT{0, 0, 79, 59}, RECT{5, 5, 6, 6}}) {
        cv::Mat after = before.clone();
        drawOutline(after, face);
        expectOutline(before, after, face);
        EXPECT_FALSE(test::identical(before, after));
    }
}

TEST(DrawOutline, IsCutAtThePicturesEdge) {
    const cv::Mat before = test::scene(60, 80);
    cv::Mat after = before.clone();
    const RECT face{50, 30, 80, 60}; // right and bottom lie one past the picture
    drawOutline(after, face);
    expectOutline(before, after, face);
}

TEST(DrawOutline, OfAnEmptyRectangleIsNothing) {
    const cv::Mat before = test::scene(60, 80);
    for (const RECT& face : {RECT{}, RECT{10, 10, 10, 30}, RECT{10, 10, 30, 10}}) {
        cv::Mat after = before.clone();
        drawOutline(after, face);
        EXPECT_TRUE(test::identical(before, after));
    }
}

class Detection : public testing::Test {
protected:
    // With more threads, the order of OpenCV's detections changes from call to call.
    Detection() { cv::setNumThreads(1); }

    cv::CascadeClassifier classifier{TARVIX_HAAR_CASCADES "/haarcascade_frontalface_alt.xml"};
};

TEST_F(Detection, EqualisesInPlaceAndKeepsOpenCvsOrder) {
    const cv::Mat photo = test::photo("messi5.jpg", true);
    cv::Mat equalised;
    cv::equalizeHist(photo, equalised);
    std::vector<cv::Rect> expected;
    classifier.detectMultiScale(equalised, expected, 1.1, 2, 0, {}, {});
    ASSERT_FALSE(expected.empty());

    cv::Mat grey = photo.clone();
    EXPECT_EQ(detectFaces(classifier, grey, {0, 0}), expected);
    EXPECT_TRUE(test::identical(grey, equalised));
}

TEST_F(Detection, LeavesOutWhatIsTooSmall) {
    cv::Mat grey = test::photo("messi5.jpg", true);
    EXPECT_THAT(detectFaces(classifier, grey, {60, 60}), IsEmpty());
}

TEST_F(Detection, FindsNothingInAnEmptyOrTinyPicture) {
    for (const cv::Size size : {cv::Size(0, 0), cv::Size(1, 1), cv::Size(19, 19)}) {
        cv::Mat grey(size, CV_8UC1, cv::Scalar(100));
        EXPECT_THAT(detectFaces(classifier, grey, {0, 0}), IsEmpty()) << size;
    }
}

TEST_F(Detection, RefusesColourAndAnEmptyClassifier) {
    cv::Mat colour = test::photo("messi5.jpg");
    EXPECT_THROW(detectFaces(classifier, colour, {0, 0}), cv::Exception);
    cv::CascadeClassifier none;
    cv::Mat grey = test::photo("messi5.jpg", true);
    EXPECT_THROW(detectFaces(none, grey, {0, 0}), cv::Exception);
}

TEST(LoadBesideExecutable, FindsTheCascadesThatTheBuildPutsThere) {
    for (const char* name : {"haarcascade_frontalface_alt.xml", "lbpcascade_frontalface.xml"}) {
        cv::CascadeClassifier classifier;
        loadBesideExecutable(classifier, name);
        EXPECT_FALSE(classifier.empty()) << name;
    }
}

TEST(LoadBesideExecutable, LeavesTheClassifierEmptyWithoutComplaintWhenTheFileIsMissing) {
    cv::CascadeClassifier classifier;
    EXPECT_NO_THROW(loadBesideExecutable(classifier, "no such cascade.xml"));
    EXPECT_TRUE(classifier.empty());
}

} // namespace
