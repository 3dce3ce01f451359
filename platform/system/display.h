// The display that this process can show windows of its own on.
#pragma once

#include <memory>

namespace tarvix {

// Connects to the display that OpenCV's windows will be on. To be called before the first of them,
// and held until it is open: the GUI library behind them ends the process if it finds no display,
// and an X server may turn connections away for a moment after its last client has left.
// Returns null if no window can be shown here.
std::shared_ptr<void> connectToDisplay();

} // namespace tarvix
