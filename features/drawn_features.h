// Trying a detector on one image, and a detector with a descriptor on two: drawn results.
#pragma once

#include <opencv2/features2d.hpp>

#include <cstddef>

namespace tarvix {

struct DrawnKeypoints {
    cv::Mat image; // CV_8UC3
    std::size_t count = 0;
};

// Draws the keypoints of an image (CV_8UC1 or CV_8UC3) as small circles of random colours.
// On failure: throws cv::Exception for an empty image and for what the detector refuses.
DrawnKeypoints drawDetected(const cv::Mat& image, cv::Feature2D& detector);

struct DrawnMatches {
    cv::Mat image; // CV_8UC3
    std::size_t count = 0;
    std::size_t queryKeypoints = 0; // those that the extractor has kept
    std::size_t trainKeypoints = 0;
};

// Draws two images side by side (query left), every query keypoint joined to its nearest train
// keypoint. Nearest is by Euclidean distance over the descriptor bytes, on purpose also for binary
// descriptors. Every match is drawn: no ratio test, no cross-check, no limit.
//   detectorSelector, extractorSelector  as createDetector and createExtractor take them
// Returns an empty matrix for an empty image or a selector of nothing, in this order and the
// extractor's after the detection.
// On failure: throws cv::Exception for what OpenCV refuses.
DrawnMatches drawMatched(const cv::Mat& query, const cv::Mat& train, int detectorSelector,
                         int extractorSelector);

} // namespace tarvix
