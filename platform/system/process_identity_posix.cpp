#include "platform/system/process_identity.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace tarvix {

std::uint64_t ownProcess() {
    return static_cast<std::uint64_t>(getpid());
}

std::string machine() {
    std::array<char, 256> name{};
    static_cast<void>(gethostname(name.data(), name.size() - 1));
    std::error_code ignored;
    return name.data() + std::filesystem::read_symlink("/proc/self/ns/pid", ignored).string();
}

bool isRunning(std::uint64_t process) {
    if (kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH) {
        return false;
    }
    // One that nobody has waited for has ended, too.
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text, '\0');
    const std::size_t name = text.rfind(") ");
    return name == std::string::npos || text.compare(name + 2, 1, "Z") != 0;
}

} // namespace tarvix
