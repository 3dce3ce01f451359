// The workbench as a whole: a server on this machine, for one person's browser.
#pragma once

#include "host/command.h"

#include <string>

namespace workbench {

struct WorkbenchOptions : host::CommonOptions {
    std::string folder = ".";
    std::string out; // for what is saved; empty: "results" in the folder
    int port = 0;
    bool noOpen = false;
};

// Prints the address, opens it in the browser, and serves until the user wishes the program's end.
// Everything that was kept in between is removed then. Throws Failure.
void runWorkbench(const WorkbenchOptions& options, host::Output& output);

} // namespace workbench
