// The command `tarvix workbench`.
#pragma once

#include "host/command.h"

namespace workbench {

// Its row in the table of commands. In a build without Boost it says that, and does nothing else.
host::Command command();

} // namespace workbench
