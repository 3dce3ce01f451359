#include "platform/system/binary_streams.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace tarvix {

namespace {

constexpr int inputHandle = 0;
constexpr int outputHandle = 1;

// While it lives, bytes pass unchanged.
class Binary {
public:
    explicit Binary(int handle) : m_handle(handle), m_before(_setmode(handle, _O_BINARY)) {}
    ~Binary() {
        if (m_before != -1) {
            _setmode(m_handle, m_before);
        }
    }
    Binary(const Binary&) = delete;
    Binary& operator=(const Binary&) = delete;

private:
    int m_handle;
    int m_before;
};

} // namespace

void copyStandardInput(std::ostream& to) {
    const Binary binary(inputHandle);
    std::array<char, 1 << 16> part{};
    while (to) {
        const int count = _read(inputHandle, part.data(), static_cast<unsigned>(part.size()));
        if (count == 0) {
            return;
        }
        if (count < 0) {
            throw std::system_error(errno, std::generic_category(), "cannot read standard input");
        }
        to.write(part.data(), count);
    }
}

bool writeStandardOutput(const std::string& bytes) {
    constexpr std::size_t largestPart = 1U << 20U; // _write() counts in int
    const Binary binary(outputHandle);
    std::size_t written = 0;
    while (written < bytes.size()) {
        const std::size_t size = std::min(largestPart, bytes.size() - written);
        const int count = _write(outputHandle, &bytes[written], static_cast<unsigned>(size));
        if (count <= 0) {
            return false;
        }
        written += static_cast<std::size_t>(count);
    }
    return true;
}

} // namespace tarvix
