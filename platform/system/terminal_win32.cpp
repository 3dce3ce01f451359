#include "platform/system/terminal.h"

#include <windows.h>

namespace tarvix {

bool isOutputTerminal() {
    DWORD mode = 0; // only a console has one
    return GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != 0;
}

} // namespace tarvix
