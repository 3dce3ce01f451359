// What Linux allows the group of processes that this one is in, as in a container or a job.
#pragma once

#include <cstdint>
#include <limits>
#include <string>

namespace tarvix {

struct GroupLimits {
    static constexpr std::uint64_t none = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t memory = none;     // bytes that it may still take
    std::uint64_t processors = none; // at least 1
};

// The narrowest limits of the group and those above it: memory.max less memory.current, and
// cpu.max, of version 2; memory.limit_in_bytes less memory.usage_in_bytes, and cpu.cfs_quota_us, of
// version 1. Files in memory that nobody uses do not count. What cannot be read is no limit.
//   root  the folder that has proc/self/cgroup and sys/fs/cgroup: "/"
GroupLimits groupLimits(const std::string& root);

} // namespace tarvix
