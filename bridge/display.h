// The display that the module's own windows need.
#pragma once

namespace tarvix {

// Throws cv::Exception if this process cannot show windows. To be called before the first one is
// opened: the GUI library behind OpenCV's windows ends the process if it finds no display.
void requireDisplay();

} // namespace tarvix
