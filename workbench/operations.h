// What the workbench offers of the table of commands, as data: reading requests needs no more.
#pragma once

#include "host/command_table.h"

#include <string>
#include <vector>

namespace workbench {

struct Operation {
    std::string name; // of the command
    host::Takes takes = host::Takes::Nothing;
    std::vector<host::OptionRow> options{};
};

// The operations on images and calibrations, in the order of the table.
const std::vector<Operation>& operations();

// True for a command that is one of them.
bool isOffered(const host::Command& command);

} // namespace workbench
