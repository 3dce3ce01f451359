#include "platform/system/display.h"

namespace tarvix {

// Every process has a window station; where none of its desktops can be seen, windows are still
// made, and a call that fails raises an exception.
std::shared_ptr<void> connectToDisplay() {
    return std::make_shared<bool>();
}

} // namespace tarvix
