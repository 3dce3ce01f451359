#include "platform/system/terminal.h"

#include <unistd.h>

namespace tarvix {

bool isOutputTerminal() {
    return isatty(STDOUT_FILENO) != 0;
}

} // namespace tarvix
