#include "platform/system/binary_streams.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace tarvix {

void copyStandardInput(std::ostream& to) {
    std::array<char, 1 << 16> part{};
    while (to) {
        const ssize_t count = read(STDIN_FILENO, part.data(), part.size());
        if (count > 0) {
            to.write(part.data(), count);
        } else if (count == 0) {
            return;
        } else if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "cannot read standard input");
        }
    }
}

bool writeStandardOutput(const std::string& bytes) {
    // Without this, a reader that ends early ends this process, too, before it can clean up.
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write(STDOUT_FILENO, bytes.data() + written, bytes.size() - written);
        if (count > 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            break;
        }
    }
    (void)std::signal(SIGPIPE, before);
    return written == bytes.size();
}

} // namespace tarvix
