// What needs OpenCV's cameras and windows. These bring more than a hundred libraries, so on Linux
// it is a library of its own, TarvixLive, which is loaded at the first call (late.cpp). Elsewhere
// it is linked as everything else.
#pragma once

namespace tarvix {

// The whole of tx_TrackFace, messages included, and its result.
// On failure: throws cv::Exception if TarvixLive cannot be loaded.
int trackFace();

// Whether camera 0 can be opened.
// On failure: throws cv::Exception if TarvixLive cannot be loaded.
bool hasCamera();

} // namespace tarvix
