#include "platform/system/control_groups.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <optional>

namespace tarvix {

namespace fs = std::filesystem;

namespace {

// A number of a file's line; none for "max", and for -1.
std::optional<double> numberIn(const fs::path& file, int place = 0) {
    std::ifstream text(file);
    std::string word;
    for (int i = 0; i <= place; ++i) {
        text >> word;
    }
    try {
        const double number = text ? std::stod(word) : -1;
        return number >= 0 ? std::optional(number) : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

// Bytes of files that were read and that nobody uses: the system takes them back when it needs to.
double unusedIn(const fs::path& folder, const std::string& name) {
    std::ifstream text(folder / "memory.stat");
    double bytes = 0;
    for (std::string word; text >> word >> bytes;) {
        if (word == name) {
            return bytes;
        }
    }
    return 0;
}

void narrowMemory(GroupLimits& limits, const std::optional<double>& most,
                  const std::optional<double>& used, double unused) {
    constexpr double largest = 1e18; // version 1 has a number for "none"
    if (most && *most < largest) {
        const double left = std::clamp(*most - used.value_or(0) + unused, 0.0, *most);
        limits.memory = std::min(limits.memory, static_cast<std::uint64_t>(left));
    }
}

void narrowProcessors(GroupLimits& limits, const std::optional<double>& quota,
                      const std::optional<double>& period) {
    if (quota && period && *period > 0) {
        const double whole = std::max(1.0, std::floor(*quota / *period));
        limits.processors = std::min(limits.processors, static_cast<std::uint64_t>(whole));
    }
}

void narrowBy(GroupLimits& limits, const fs::path& folder) {
    narrowMemory(limits, numberIn(folder / "memory.max"), numberIn(folder / "memory.current"),
                 unusedIn(folder, "inactive_file"));
    narrowMemory(limits, numberIn(folder / "memory.limit_in_bytes"),
                 numberIn(folder / "memory.usage_in_bytes"),
                 unusedIn(folder, "total_inactive_file"));
    narrowProcessors(limits, numberIn(folder / "cpu.max"), numberIn(folder / "cpu.max", 1));
    narrowProcessors(limits, numberIn(folder / "cpu.cfs_quota_us"),
                     numberIn(folder / "cpu.cfs_period_us"));
}

// Where a hierarchy is below sys/fs/cgroup: version 2 has no controllers in its line.
std::string mountOf(const std::string& controllers) {
    if (controllers.empty()) {
        return "";
    }
    const std::string all = "," + controllers + ",";
    return all.find(",memory,") != std::string::npos ? "memory"
           : all.find(",cpu,") != std::string::npos  ? "cpu"
                                                     : "-";
}

} // namespace

GroupLimits groupLimits(const std::string& root) {
    GroupLimits limits;
    std::ifstream groups(fs::path(root) / "proc/self/cgroup");
    for (std::string line; std::getline(groups, line);) { // "0::/a/b" or "4:memory:/a/b"
        const std::size_t first = line.find(':');
        const std::size_t second = first == std::string::npos ? first : line.find(':', first + 1);
        if (second == std::string::npos) {
            continue;
        }
        const fs::path mounted =
            fs::path(root) / "sys/fs/cgroup" / mountOf(line.substr(first + 1, second - first - 1));
        fs::path group = fs::path(line.substr(second + 1)).relative_path();
        for (; !group.empty(); group = group.parent_path()) {
            narrowBy(limits, mounted / group);
        }
        narrowBy(limits, mounted); // in a container, this is its own
    }
    return limits;
}

} // namespace tarvix
