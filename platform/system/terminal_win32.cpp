#include "platform/system/terminal.h"

#include <windows.h>

namespace tarvix {

namespace {

bool isConsole(DWORD handle) {
    DWORD mode = 0; // only a console has one
    return GetConsoleMode(GetStdHandle(handle), &mode) != 0;
}

} // namespace

bool isInputTerminal() {
    return isConsole(STD_INPUT_HANDLE);
}

bool isOutputTerminal() {
    return isConsole(STD_OUTPUT_HANDLE);
}

} // namespace tarvix
