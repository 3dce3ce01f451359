// The display that the module's own windows need.
#pragma once

#include <memory>

namespace tarvix {

// To be called before the first window is opened: the GUI library behind OpenCV's windows ends the
// process if it finds no display.
// Returns a connection to the display, to be held until the window is open.
// On failure: throws cv::Exception if this process cannot show windows.
[[nodiscard]] std::shared_ptr<void> requireDisplay();

} // namespace tarvix
