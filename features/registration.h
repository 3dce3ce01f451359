// Registering a set of pictures onto the first of them: features, matches, one homography each, a
// common canvas, one canvas-sized file each.
//
// Frames: `image` is a picture's own pixels, `reference` the first picture's pixels, `canvas` the
// output's pixels: canvas = reference - (left, top). A homography referenceFromImage maps image to
// reference.
#pragma once

#include <afxcoll.h>
#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>
#include <opencv2/features2d.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarvix {

// Row i of the descriptors belongs to keypoint i. Both are empty for an empty picture.
struct Features {
    std::vector<cv::KeyPoint> keypoints;
    cv::Mat descriptors; // CV_8U, 64 bytes a row
};

// ORB keypoints with BRISK descriptors; the two engines serve every picture of a set.
class FeatureFinder {
public:
    FeatureFinder();
    // Throws cv::Exception for what the engines refuse (a picture of a few pixels).
    [[nodiscard]] Features find(const cv::Mat& image) const;

private:
    cv::Ptr<cv::ORB> m_detector;
    cv::Ptr<cv::BRISK> m_extractor;
};

// The two nearest reference descriptors of every descriptor: `indices` CV_32S and `dists` 32-bit,
// both rows x 2, nearest first. The distances of byte descriptors are Hamming counts (CV_32S),
// those of others squared Euclidean floats (CV_32F). A neighbour that was not found has index -1.
// Without descriptors on either side there are no rows.
struct Neighbours {
    cv::Mat indices;
    cv::Mat dists;
};
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

// A picture with fewer good matches is left out.
constexpr std::size_t fewestMatches = 8;

// referenceFromImage, 3 x 3 doubles, by RANSAC with a reprojection threshold of 1 pixel; empty when
// none is found.
cv::Mat estimateHomography(const PointPairs& pairs);

// The bounding rectangle of a picture of `size` pixels in the reference frame, from the rounded
// projections of its corners: fixed pairs of corners give each side, not the extremes of all four,
// on purpose; so the rectangle of a mirrored picture has a negative size. What leaves the range of
// int saturates, not-a-number counts as 0.
cv::Rect projectedOutline(const cv::Mat& referenceFromImage, cv::Size size);

// The smallest rectangle around the reference picture and all outlines, in the reference frame;
// what leaves the range of int saturates.
struct Canvas {
    int left = 0; // never positive
    int top = 0;
    cv::Size size;
};
Canvas commonCanvas(cv::Size reference, const std::vector<cv::Rect>& outlines);

// Registers the files `inputs` onto the first of them and writes one file of canvas size for each,
// named by `outputs`; the format follows a name's extension.
//
// A picture with fewer than 8 good matches is left out; `outputs` must hold one more name than
// pictures passed, or nothing is written. Each further picture is warped with only the translation
// of its homography moved into the canvas (exact without perspective) and cut to its own size from
// the canvas's corner, both on purpose. The k-th input is written with the k-th stored homography
// and name, so the pairing shifts after a picture that was left out.
//
// Throws cv::Exception for what OpenCV refuses, the class library's invalid-argument exception for
// an empty `inputs`, for a name past the end of `outputs` and for an input past the stored
// homographies, std::out_of_range as goodMatches. Files written before stay.
void registerImages(const CStringArray& inputs, const CStringArray& outputs);

} // namespace tarvix
