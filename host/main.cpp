#include "host/application.h"
#include "host/commands.h"
#include "host/run_command.h"
#include "platform/system/arguments.h"
#include "platform/system/stray_lines.h"
#include "platform/system/terminal.h"
#include "workbench/command.h"

#include <iostream>

int main(int argc, char** argv) {
    const tarvix::StrayLines strayLines; // what is printed is ours
    host::application();                 // exists before any export is called, as in a real host
    host::addCommand(workbench::command());
    host::Output output(std::cout, tarvix::standardError(), tarvix::isOutputTerminal());
    if (const auto word = tarvix::damagedArgument()) {
        output.fail("'" + *word +
                    "' has letters that the system's code page lacks, and the module "
                    "takes names in it; rename the file or the folder");
        return 1;
    }
    output.offerPipes();
    return host::runCommand({argv + 1, argv + argc}, output);
}
