// Functions of a shared library that is loaded at the first use, not with the program.
#pragma once

#include <string>

namespace tarvix {

// The address of a function. The library is found where those are that the calling library or
// program names itself, and is never freed: what it brings could not be.
// On failure: throws std::runtime_error with the system's reason.
void* lateFunction(const std::string& library, const std::string& function);

} // namespace tarvix
