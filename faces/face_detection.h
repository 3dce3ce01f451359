// Finding faces with OpenCV's cascade classifiers.
//
// A face is a cv::Rect in pixels of the image as seen.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>
#include <opencv2/objdetect.hpp>

#include <vector>

namespace tarvix {

// Equalises the histogram of `grey` in place and finds faces in it.
//   grey      CV_8UC1
//   smallest  smaller faces are ignored; 0 x 0: none is too small
// Returns the faces in the classifier's order.
// On failure: throws cv::Exception if `grey` is not CV_8UC1 or the classifier is empty.
std::vector<cv::Rect> detectFaces(cv::CascadeClassifier& classifier, cv::Mat& grey,
                                  cv::Size smallest);

// Returns the face of the largest area, the first of several equal ones. Returns an empty rectangle
// if there is none.
cv::Rect largestFace(const std::vector<cv::Rect>& faces);

// Draws a white outline, one pixel wide, through the corners (x, y) and (x + width, y + height),
// both included. An empty rectangle draws nothing.
void drawOutline(cv::Mat& image, const cv::Rect& face);

} // namespace tarvix
