#include "bridge/host_files.h"

#include "platform/system/files.h"

namespace tarvix {

FileSystem& hostFiles() {
    return systemFiles();
}

} // namespace tarvix
