#include "platform/system/terminal.h"

#include <unistd.h>

namespace tarvix {

bool isInputTerminal() {
    return isatty(STDIN_FILENO) != 0;
}

bool isOutputTerminal() {
    return isatty(STDOUT_FILENO) != 0;
}

} // namespace tarvix
