// Locks of folders for tests, however busy the machine is.
#pragma once

#include <common/file_system.h>

#include <filesystem>
#include <memory>

namespace test {

// Waits for the lock as long as it takes. The folder must be one that can be locked.
inline std::unique_ptr<tarvix::FolderLock>
lockFolder(tarvix::FileSystem& system, const std::filesystem::path& folder, tarvix::Access access) {
    std::unique_ptr<tarvix::FolderLock> lock;
    while (lock == nullptr) {
        lock = system.lockFolder(folder, access);
    }
    return lock;
}

} // namespace test
