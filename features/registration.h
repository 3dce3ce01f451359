// Registering a set of images onto the first of them: one homography for each further image, a
// common canvas, one file of canvas size for each image.
//
// Frames: `image` is an image's own pixels, `reference` the first image's pixels, `canvas` the
// output's pixels: canvas = reference - (left, top). A homography referenceFromImage maps image to
// reference.
#pragma once

#include "matching.h"

#include <common/file_list.h>
#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <cstddef>
#include <vector>

namespace tarvix {

// An image with fewer good matches is left out.
constexpr std::size_t fewestMatches = 8;

// Estimates referenceFromImage by RANSAC with a reprojection threshold of 1 pixel.
// Returns 3 x 3 doubles; an empty matrix if none is found.
cv::Mat estimateHomography(const PointPairs& pairs);

// Returns the bounding rectangle of an image of `size` pixels in the reference frame, from the
// rounded projections of its corners. Fixed pairs of corners give each side, not the extremes of
// all four, on purpose; so the rectangle of a mirrored image has a negative size. What leaves the
// range of int saturates, not-a-number counts as 0.
cv::Rect projectedOutline(const cv::Mat& referenceFromImage, cv::Size size);

// The smallest rectangle around the reference image and all outlines, in the reference frame. What
// leaves the range of int saturates.
struct Canvas {
    int left = 0; // never positive
    int top = 0;
    cv::Size size;
};
Canvas commonCanvas(cv::Size reference, const std::vector<cv::Rect>& outlines);

// How an image lies to the reference.
struct SetMatch {
    std::size_t matches = 0; // good ones
    cv::Mat
        referenceFromImage; // 3 x 3 doubles; empty if fewer than fewestMatches, or none is found
};

// Matches images against one reference.
class SetMatcher {
public:
    // Throws cv::Exception for what the engines refuse (an image of a few pixels).
    explicit SetMatcher(const cv::Mat& reference);

    // Draws random numbers: matches near a limit depend on the state of cv::theRNG().
    // On failure: throws as FeatureFinder, twoNearest, goodMatches and cv::findHomography.
    [[nodiscard]] SetMatch match(const cv::Mat& image) const;

private:
    FeatureFinder m_finder;
    Features m_reference;
};

// The reference at its place on the canvas, black elsewhere.
//   canvas  is made of the layout's size and of the image's type, if it is not that already
void drawReference(const cv::Mat& reference, const Canvas& layout, cv::Mat& canvas);

// Another image on the canvas. It is warped with only the translation of its homography moved into
// the canvas, and cut to its own size from the canvas's corner, both on purpose.
// On failure: throws cv::Exception if the image is wider or higher than the canvas.
void drawRegistered(const cv::Mat& image, const cv::Mat& referenceFromImage, const Canvas& layout,
                    cv::Mat& canvas);

// Registers the files `inputs` onto the first of them and writes one file of canvas size for each,
// named by `outputs`. The format follows a name's extension.
//
// An image with fewer than 8 good matches is left out. `outputs` must hold one name for the
// reference plus one for each image that registers, or nothing is written. Each further image is
// warped with only the translation of its homography moved into the canvas (exact without
// perspective) and cut to its own size from the canvas's corner, both on purpose. The k-th input is
// written with the k-th stored homography and name, so the pairing shifts after an image that was
// left out.
//
// On failure: throws cv::Exception for what OpenCV refuses; what the lists throw for an empty
// `inputs` and for an input beyond the names; std::out_of_range as goodMatches. Files written
// before stay.
void registerImages(const FileList& inputs, const FileList& outputs);

} // namespace tarvix
