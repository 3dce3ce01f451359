// Detection, the rule of the largest face, and its outline.
#include "faces/face_detection.h"

#include "tests/support/identical.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

namespace {

using namespace tarvix;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(LargestFace, IsAllZeroWithoutDetections) {
    EXPECT_EQ(largestFace({}), cv::Rect(0, 0, 0, 0));
}

TEST(LargestFace, IsTheOneOfTheLargestArea) {
    const cv::Rect compact(5, 6, 40, 40);
    const cv::Rect large(100, 7, 60, 50);
    EXPECT_EQ(largestFace({compact, large}), cv::Rect(100, 7, 60, 50));
    EXPECT_EQ(largestFace({large, compact}), cv::Rect(100, 7, 60, 50));
    // The area decides, not the longest side.
    EXPECT_EQ(largestFace({{0, 0, 100, 10}, compact}), cv::Rect(5, 6, 40, 40));
}

TEST(LargestFace, OfEqualAreasIsTheFirst) {
    EXPECT_EQ(largestFace({{1, 2, 30, 20}, {50, 60, 20, 30}, {70, 80, 30, 20}}),
              cv::Rect(1, 2, 30, 20));
    EXPECT_EQ(largestFace({{50, 60, 20, 30}, {1, 2, 30, 20}}), cv::Rect(50, 60, 20, 30));
}

TEST(LargestFace, IgnoresDetectionsWithoutArea) {
    EXPECT_EQ(largestFace({{9, 9, 0, 0}, {8, 8, 5, 0}}), cv::Rect(0, 0, 0, 0));
    EXPECT_EQ(largestFace({{9, 9, 0, 0}, {3, 3, 1, 1}}), cv::Rect(3, 3, 1, 1));
}

TEST(LargestFace, AreasBeyond32BitsAreCompared) {
    EXPECT_EQ(largestFace({{0, 0, 10, 10}, {0, 0, 70000, 70000}}), cv::Rect(0, 0, 70000, 70000));
}

// Every pixel: white on the outline through (x, y) and (x + width, y + height), untouched
// elsewhere.
void expectOutline(const cv::Mat& before, const cv::Mat& after, const cv::Rect& face) {
    const int right = face.x + face.width;
    const int bottom = face.y + face.height;
    int wrong = 0;
    for (int y = 0; y < before.rows; ++y) {
        for (int x = 0; x < before.cols; ++x) {
            const bool inside = x >= face.x && x <= right && y >= face.y && y <= bottom;
            const bool isEdge = inside && (x == face.x || x == right || y == face.y || y == bottom);
            const cv::Vec3b expected =
                isEdge ? cv::Vec3b(255, 255, 255) : before.at<cv::Vec3b>(y, x);
            wrong += after.at<cv::Vec3b>(y, x) != expected ? 1 : 0;
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST(DrawOutline, IsWhiteOnePixelWideAndReachesTheFarCorner) {
    const cv::Mat before = test::scene(60, 80);
    for (const cv::Rect& face :
         {cv::Rect(10, 20, 30, 30), cv::Rect(0, 0, 79, 59), cv::Rect(5, 5, 1, 1)}) {
        cv::Mat after = before.clone();
        drawOutline(after, face);
        expectOutline(before, after, face);
        EXPECT_THAT(before, testing::Not(test::IsIdenticalTo(after)));
    }
}

TEST(DrawOutline, IsCutAtTheImagesEdge) {
    const cv::Mat before = test::scene(60, 80);
    cv::Mat after = before.clone();
    const cv::Rect face(50, 30, 30, 30); // right and bottom are one past the image
    drawOutline(after, face);
    expectOutline(before, after, face);
}

TEST(DrawOutline, DrawsNothingForAnEmptyRectangle) {
    const cv::Mat before = test::scene(60, 80);
    for (const cv::Rect& face : {cv::Rect(), cv::Rect(10, 10, 0, 20), cv::Rect(10, 10, 20, 0)}) {
        cv::Mat after = before.clone();
        drawOutline(after, face);
        EXPECT_THAT(before, test::IsIdenticalTo(after));
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
    EXPECT_THAT(grey, test::IsIdenticalTo(equalised));
}

// At these sizes, hits are few, so the number that makes a face matters.
TEST_F(Detection, EqualsTheLiteralCallsAtSmallSizes) {
    std::size_t fewer = 0;
    for (int percent = 30; percent <= 70; percent += 5) {
        cv::Mat grey = test::photo("messi5.jpg", true);
        cv::resize(grey, grey, {}, percent / 100.0, percent / 100.0, cv::INTER_AREA);
        cv::Mat equalised;
        cv::equalizeHist(grey, equalised);
        std::vector<cv::Rect> expected, stricter;
        classifier.detectMultiScale(equalised, expected, 1.1, 2, 0, cv::Size(), cv::Size());
        classifier.detectMultiScale(equalised, stricter, 1.1, 3, 0, cv::Size(), cv::Size());
        EXPECT_EQ(detectFaces(classifier, grey, cv::Size()), expected) << percent;
        fewer += expected.size() - stricter.size();
    }
    EXPECT_GT(fewer, 0U) << "3 hits would do as well";
}

TEST_F(Detection, LeavesOutWhatIsTooSmall) {
    cv::Mat grey = test::photo("messi5.jpg", true);
    EXPECT_THAT(detectFaces(classifier, grey, {60, 60}), IsEmpty());
}

TEST_F(Detection, FindsNothingInAnEmptyOrTinyImage) {
    for (const cv::Size& size : {cv::Size(0, 0), cv::Size(1, 1), cv::Size(19, 19)}) {
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

} // namespace
