// Files beside the host's executable, such as the cascades.
#pragma once

#include <string>

namespace tarvix {

// The path of `fileName` in the folder of the host's executable, not the module's own. Empty if the
// executable's path is unknown or longer than MAX_PATH - 1: cut off, it would lead to another
// folder.
std::string besideExecutable(const char* fileName);

} // namespace tarvix
