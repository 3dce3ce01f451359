// Whether this process can show windows of its own.
#pragma once

namespace tarvix {

// True when OpenCV's windows can be opened here. To be asked before the first of them: the GUI
// library behind them ends the process when it finds no display.
bool canShowWindows();

} // namespace tarvix
