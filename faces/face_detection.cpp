#include "face_detection.h"

#include <opencv2/imgproc.hpp>

#include <cstdint>

namespace tarvix {

namespace {

constexpr double scaleStep = 1.1; // from one size of the search window to the next
constexpr int minNeighbours = 2;  // overlapping hits that make a face

std::int64_t areaOf(const cv::Rect& face) {
    return std::int64_t{face.width} * face.height;
}

} // namespace

std::vector<cv::Rect> detectFaces(cv::CascadeClassifier& classifier, cv::Mat& grey,
                                  cv::Size smallest) {
    cv::equalizeHist(grey, grey);
    std::vector<cv::Rect> faces;
    classifier.detectMultiScale(grey, faces, scaleStep, minNeighbours, 0, smallest, cv::Size(0, 0));
    return faces;
}

cv::Rect largestFace(const std::vector<cv::Rect>& faces) {
    cv::Rect largest;
    for (const cv::Rect& face : faces) {
        if (areaOf(face) > areaOf(largest)) {
            largest = face;
        }
    }
    return largest;
}

void drawOutline(cv::Mat& image, const cv::Rect& face) {
    if (!face.empty()) {
        const cv::Point beyond(face.x + face.width, face.y + face.height);
        cv::rectangle(image, face.tl(), beyond, cv::Scalar(255, 255, 255, 0), 1, cv::LINE_8, 0);
    }
}

} // namespace tarvix
