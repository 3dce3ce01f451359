#include "bridge/display.h"

#include "platform/system/display.h"

#include <opencv2/core.hpp>

namespace tarvix {

std::shared_ptr<void> requireDisplay() {
    std::shared_ptr<void> connection = connectToDisplay();
    if (connection == nullptr) {
        CV_Error(cv::Error::StsError, "There is no display to open a window on");
    }
    return connection;
}

} // namespace tarvix
