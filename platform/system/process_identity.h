// Which process this is, among all that may write into one folder.
#pragma once

#include <cstdint>
#include <string>

namespace tarvix {

// The number of this process.
std::uint64_t ownProcess();

// A text for the machine; on Linux, also for the container, if that has process numbers of its own.
std::string machine();

// Whether a process of this machine runs.
bool isRunning(std::uint64_t process);

} // namespace tarvix
