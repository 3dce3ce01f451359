// Trying a detector on one picture, and a detector with a descriptor on two: drawn results.
#pragma once

#include <opencv2/features2d.hpp>

namespace tarvix {

// The keypoints of `image` (CV_8UC1 or CV_8UC3), drawn on it as small circles of random colours;
// CV_8UC3. Throws cv::Exception for an empty picture and for what the detector refuses.
cv::Mat drawDetected(const cv::Mat& image, cv::Feature2D& detector);

// The two pictures side by side (query left), every query keypoint joined to its nearest train
// keypoint; CV_8UC3. Nearest is by Euclidean distance over the descriptor bytes, on purpose also
// for binary descriptors, and every match is drawn: no ratio test, no cross-check, no limit.
// Raises the silent failure for an empty picture or a selector without a detector or extractor
// (createDetector, createExtractor), in this order and the last one after the detection.
cv::Mat drawMatched(const cv::Mat& query, const cv::Mat& train, int detectorSelector,
                    int extractorSelector);

} // namespace tarvix
