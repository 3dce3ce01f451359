// Finding faces with OpenCV's cascade classifiers, on matrices and rectangles.
//
// A detection is a cv::Rect, a face a RECT: left = x, top = y, right = x + width,
// bottom = y + height, in pixels of the picture as seen. right and bottom lie one past the face.
#pragma once

#include <windows.h>

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>
#include <opencv2/objdetect.hpp>

#include <vector>

namespace tarvix {

// Loads the cascade file of this name from the folder of the host's executable. On purpose nobody
// asks whether that worked: a file that is missing or no cascade leaves the classifier empty, and
// the first detection then raises the cv::Exception that the user is shown. So does an executable
// whose path is unknown or longer than MAX_PATH - 1. OpenCV raises one at once for a file that it
// cannot parse.
void loadBesideExecutable(cv::CascadeClassifier& classifier, const char* fileName);

// Equalises the histogram of `grey` in place and returns the faces found in it, in the classifier's
// order: every face but those smaller than `smallest` (0 x 0: none is too small). Throws
// cv::Exception when `grey` is not CV_8UC1 or the classifier is empty.
std::vector<cv::Rect> detectFaces(cv::CascadeClassifier& classifier, cv::Mat& grey,
                                  cv::Size smallest);

RECT faceOf(const cv::Rect& detection);

// The detection of the largest area, the first of several equal ones; all zero when there is none.
RECT largestFace(const std::vector<cv::Rect>& detections);

// Draws the white outline of `face`, one pixel wide, through its corners (left, top) and
// (right, bottom), both included. An empty rectangle draws nothing.
void drawOutline(cv::Mat& picture, const RECT& face);

} // namespace tarvix
