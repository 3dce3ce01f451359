// Inputs of the gallery that no photograph shows, made from one so that what should come out is
// known. The page says how each was made.
#pragma once

#include <opencv2/core/mat.hpp>

namespace host {

// The CV_8UC3 image with normally distributed noise added to each channel: `deviation` grey levels,
// the same at each run. Values are cut off at 0 and 255.
cv::Mat withGrain(const cv::Mat& image, double deviation);

// What a camera in front of the image sees when it turns by `yawDeg` to the right: a view of the
// given size from a focal length in pixels, with its brightness multiplied by `gain`. What lies
// beyond the image is black.
cv::Mat turnedView(const cv::Mat& image, double yawDeg, double focalPx, cv::Size size, double gain);

// The peak signal-to-noise ratio of two CV_8UC3 images of one size, in decibels.
double decibels(const cv::Mat& image, const cv::Mat& truth);

} // namespace host
