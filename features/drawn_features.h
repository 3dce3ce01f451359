// Trying a detector on one image, and a detector with a descriptor on two: drawn results.
#pragma once

#include <opencv2/features2d.hpp>

namespace tarvix {

// Draws the keypoints of an image (CV_8UC1 or CV_8UC3) as small circles of random colours.
// Returns CV_8UC3.
// On failure: throws cv::Exception for an empty image and for what the detector refuses.
cv::Mat drawDetected(const cv::Mat& image, cv::Feature2D& detector);

// Draws two images side by side (query left), every query keypoint joined to its nearest train
// keypoint. Nearest is by Euclidean distance over the descriptor bytes, on purpose also for binary
// descriptors. Every match is drawn: no ratio test, no cross-check, no limit.
//   detectorSelector, extractorSelector  as createDetector and createExtractor take them
// Returns CV_8UC3; an empty matrix for an empty image or a selector of nothing, in this order and
// the extractor's after the detection.
// On failure: throws cv::Exception for what OpenCV refuses.
cv::Mat drawMatched(const cv::Mat& query, const cv::Mat& train, int detectorSelector,
                    int extractorSelector);

} // namespace tarvix
