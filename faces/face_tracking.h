// The live image of a camera with its largest face outlined.
#pragma once

#include <opencv2/objdetect.hpp>
#include <opencv2/videoio.hpp>

namespace tarvix {

// Opens the window "TrackFace", sized to its image.
// On failure: throws cv::Exception.
void openTrackingWindow();

// Shows the camera's frames in the window, the largest face of each outlined, until a key is
// pressed in it. Faces smaller than 10 x 10 pixels are ignored.
// On failure: throws cv::Exception if the classifier is empty or the camera delivers no frame.
void showLargestFace(cv::VideoCapture& camera, cv::CascadeClassifier& classifier);

// Closes the window. It may never have been opened.
void closeTrackingWindow();

} // namespace tarvix
