#include "faces/face_detection.h"

#include <shlwapi.h>

#include <opencv2/imgproc.hpp>

#include <array>
#include <cstdint>

namespace tarvix {

namespace {

constexpr double scaleStep = 1.1; // from one size of the search window to the next
constexpr int minNeighbours = 2;  // overlapping hits that make a face

} // namespace

void loadBesideExecutable(cv::CascadeClassifier& classifier, const char* fileName) {
    std::array<char, MAX_PATH> path{};
    const DWORD length = GetModuleFileNameA(nullptr, path.data(), MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        return; // unknown, or cut off: it would lead to another folder
    }
    PathRemoveFileSpecA(path.data());
    PathAppendA(path.data(), fileName);
    classifier.load(path.data());
}

std::vector<cv::Rect> detectFaces(cv::CascadeClassifier& classifier, cv::Mat& grey,
                                  cv::Size smallest) {
    cv::equalizeHist(grey, grey);
    std::vector<cv::Rect> detections;
    classifier.detectMultiScale(grey, detections, scaleStep, minNeighbours, 0, smallest,
                                cv::Size(0, 0));
    return detections;
}

RECT faceOf(const cv::Rect& detection) {
    RECT face;
    face.left = detection.x;
    face.top = detection.y;
    face.right = detection.x + detection.width;
    face.bottom = detection.y + detection.height;
    return face;
}

RECT largestFace(const std::vector<cv::Rect>& detections) {
    RECT largest{};
    for (const cv::Rect& detection : detections) {
        const std::int64_t area = std::int64_t{detection.width} * detection.height;
        if (area > std::int64_t{largest.right - largest.left} * (largest.bottom - largest.top)) {
            largest = faceOf(detection);
        }
    }
    return largest;
}

void drawOutline(cv::Mat& picture, const RECT& face) {
    if (IsRectEmpty(&face) == FALSE) {
        cv::rectangle(picture, cv::Point(face.left, face.top), cv::Point(face.right, face.bottom),
                      cv::Scalar(255, 255, 255, 0), 1, cv::LINE_8, 0);
    }
}

} // namespace tarvix
