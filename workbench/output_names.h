// How results are named, and how command lines are shown.
#pragma once

#include "workbench/operations.h"

#include <string>
#include <vector>

namespace workbench {

// The extension of a command's image: photographs keep their format, drawings and masks have hard
// edges, which JPEG blurs.
std::string extensionFor(const Operation& operation, const std::string& firstImage);

// The words as a line for the system's shell, after "tarvix".
std::string commandLineOf(const std::vector<std::string>& words);

} // namespace workbench
