// The live picture of the first camera with its largest face outlined.
#pragma once

#include <opencv2/objdetect.hpp>

namespace tarvix {

// Shows camera 0 in the window "TrackFace", frame by frame, until a key is pressed in it. The
// classifier is loaded on the way. The camera is released on every way out; the window stays until
// closeTrackingWindow().
// Raises the silent failure when the camera cannot be opened, before anything else is tried, and
// cv::Exception when there is no display, no cascade or no further frame.
void trackLargestFace(cv::CascadeClassifier& classifier);

// Closes the window. It may never have been made.
void closeTrackingWindow();

} // namespace tarvix
