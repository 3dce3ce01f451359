#include "faces/face_tracking.h"

#include "bridge/guard.h"
#include "faces/face_detection.h"
#include "platform/system/display.h"

#include <opencv2/highgui.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

namespace tarvix {

namespace {

const char* const window = "TrackFace";
const char* const cascadeFile = "lbpcascade_frontalface.xml";
constexpr int keyWaitMs = 30;
const cv::Size smallestFace(10, 10);

void outlineLargestFace(cv::CascadeClassifier& classifier, cv::Mat& frame) {
    cv::Mat grey;
    cv::cvtColor(frame, grey, cv::COLOR_BGR2GRAY, 0);
    drawOutline(frame, largestFace(detectFaces(classifier, grey, smallestFace)));
}

} // namespace

void trackLargestFace(cv::CascadeClassifier& classifier) {
    cv::VideoCapture camera(0, cv::CAP_ANY);
    if (!camera.isOpened()) {
        failSilently();
    }
    if (!canShowWindows()) {
        CV_Error(cv::Error::StsError, "There is no display to open a window on");
    }
    cv::namedWindow(window, cv::WINDOW_AUTOSIZE);
    loadBesideExecutable(classifier, cascadeFile);
    int key = -1;
    while (key < 0) {
        cv::Mat frame;
        camera >> frame; // a camera that stops gives an empty frame, which OpenCV refuses below
        outlineLargestFace(classifier, frame);
        cv::imshow(window, frame);
        key = cv::waitKey(keyWaitMs);
    }
}

void closeTrackingWindow() {
    // OpenCV raises an exception for a window that was never made.
    swallowAll<int>(0, [] {
        cv::destroyWindow(window);
        return 1;
    });
}

} // namespace tarvix
