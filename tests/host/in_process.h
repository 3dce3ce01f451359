// Runs the program's commands in this process: quicker than a process for each.
#pragma once

#include "host/run_command.h"
#include "tests/support/program.h"

#include <sstream>
#include <string>
#include <vector>

namespace test {

// Runs the words after the program's name. `err` has the program's own lines; messages of the
// module go to standard error.
inline ProgramResult inProcess(const std::vector<std::string>& words) {
    std::ostringstream out;
    std::ostringstream err;
    host::Output output(out, err);
    ProgramResult result;
    result.status = host::runCommand(words, output);
    result.out = out.str();
    result.err = err.str();
    return result;
}

} // namespace test
