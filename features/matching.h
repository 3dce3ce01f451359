// Keypoints of images, their nearest neighbours, and the ratio test that keeps the good matches.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>
#include <opencv2/features2d.hpp>

#include <cstdint>
#include <vector>

namespace tarvix {

// Row i of the descriptors belongs to keypoint i. Both are empty for an empty image.
struct Features {
    std::vector<cv::KeyPoint> keypoints;
    cv::Mat descriptors; // CV_8U, 64 bytes a row
};

// ORB keypoints with BRISK descriptors; the two engines serve every image of a set.
class FeatureFinder {
public:
    FeatureFinder();
    // Throws cv::Exception for what the engines refuse (an image of a few pixels).
    [[nodiscard]] Features find(const cv::Mat& image) const;

private:
    cv::Ptr<cv::ORB> m_detector;
    cv::Ptr<cv::BRISK> m_extractor;
};

// The two nearest reference descriptors of every descriptor: `indices` CV_32S and `dists` 32-bit,
// both rows x 2, nearest first. The distances of byte descriptors are Hamming counts (CV_32S),
// those of others squared Euclidean floats (CV_32F). A neighbour that was not found has index -1.
// An image without keypoints gives no rows.
struct Neighbours {
    cv::Mat indices;
    cv::Mat dists;
};
// On failure: throws cv::Exception for what the index or the search refuses: an image that could
// not be read, and a reference with fewer than two descriptors. An index draws random numbers, so
// it is built even if there is nothing to search.
Neighbours twoNearest(const cv::Mat& descriptors, const cv::Mat& referenceDescriptors);

// Whether the nearest neighbour is clearly nearer than the second: nearest <= 0.6 second, on the
// bits of the two distances taken as single-precision floats, whatever they are; a not-a-number is
// never good. For counts this amounts to nearest <= 0.6 second rounded to the nearest integer,
// while the processor does not flush subnormal numbers.
bool isClearlyNearest(std::uint32_t nearestBits, std::uint32_t secondBits);

// Matching positions: element i of one belongs to element i of the other.
struct PointPairs {
    std::vector<cv::Point2f> image;
    std::vector<cv::Point2f> reference;
};

// The pairs that pass the ratio test, in row order. Throws std::out_of_range for a row or index
// that has no keypoint.
PointPairs goodMatches(const Neighbours& neighbours, const std::vector<cv::KeyPoint>& keypoints,
                       const std::vector<cv::KeyPoint>& referenceKeypoints);

} // namespace tarvix
