#include "faces/live/live.h"

#include <opencv2/videoio.hpp>

namespace tarvix {

bool hasCamera() {
    return cv::VideoCapture(0).isOpened();
}

} // namespace tarvix
