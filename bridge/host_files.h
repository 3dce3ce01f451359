// The files of the system that the host runs on, for operations that write some.
#pragma once

#include <common/file_system.h>

namespace tarvix {

FileSystem& hostFiles();

} // namespace tarvix
