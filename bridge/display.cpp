#include "bridge/display.h"

#include "platform/system/display.h"

#include <opencv2/core.hpp>

namespace tarvix {

void requireDisplay() {
    if (!canShowWindows()) {
        CV_Error(cv::Error::StsError, "There is no display to open a window on");
    }
}

} // namespace tarvix
