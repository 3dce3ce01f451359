#include "host/application.h"
#include "host/run_command.h"
#include "platform/system/terminal.h"

#include <iostream>

int main(int argc, char** argv) {
    host::application(); // exists before any export is called, as in a real host
    host::Output output(std::cout, std::cerr, tarvix::isOutputTerminal());
    return host::runCommand({argv + 1, argv + argc}, output);
}
