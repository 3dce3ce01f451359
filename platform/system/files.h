// The files of the system this runs on.
#pragma once

#include <common/file_system.h>

namespace tarvix {

// Stateless; any thread may use it.
FileSystem& systemFiles();

} // namespace tarvix
