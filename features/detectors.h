// The keypoint detectors and descriptor extractors of the family, every setting spelled out: what a
// call finds does not change with another OpenCV version's defaults.
#pragma once

#include <opencv2/features2d.hpp>

namespace tarvix {

// At most 500 corners of an 8-level pyramid; binary descriptors of 32 bytes.
cv::Ptr<cv::ORB> createOrb();

// Corners of a scale space; binary descriptors of 64 bytes.
cv::Ptr<cv::BRISK> createBrisk();

// A new keypoint detector: 0 MSER, 1 ORB, 2 BRISK, 3 KAZE, 4 AKAZE; null for any other selector.
cv::Ptr<cv::Feature2D> createDetector(int selector);

// A new descriptor extractor: 0 ORB, 1 BRISK; null for any other selector.
cv::Ptr<cv::Feature2D> createExtractor(int selector);

} // namespace tarvix
