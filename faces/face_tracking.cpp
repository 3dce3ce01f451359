#include "face_tracking.h"

#include "face_detection.h"

#include <opencv2/highgui.hpp>
#include <opencv2/imgproc.hpp>

namespace tarvix {

namespace {

const char* const window = "TrackFace";
constexpr int keyWaitMs = 30;
const cv::Size smallestFace(10, 10);

void outlineLargestFace(cv::CascadeClassifier& classifier, cv::Mat& frame) {
    cv::Mat grey;
    cv::cvtColor(frame, grey, cv::COLOR_BGR2GRAY, 0);
    drawOutline(frame, largestFace(detectFaces(classifier, grey, smallestFace)));
}

} // namespace

void openTrackingWindow() {
    cv::namedWindow(window, cv::WINDOW_AUTOSIZE);
}

void showLargestFace(cv::VideoCapture& camera, cv::CascadeClassifier& classifier) {
    int key = -1;
    while (key < 0) {
        cv::Mat frame;
        camera >> frame; // if the camera stops, the frame is empty and OpenCV refuses it below
        outlineLargestFace(classifier, frame);
        cv::imshow(window, frame);
        key = cv::waitKey(keyWaitMs);
    }
}

void closeTrackingWindow() {
    try {
        cv::destroyWindow(window);
    } catch (...) { // OpenCV throws for a window that was never opened
    }
}

} // namespace tarvix
