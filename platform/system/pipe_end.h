// One end of a pipe between two processes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace tarvix {

// Owns what the system calls the end: a descriptor, or a handle on Windows. One thread reads or
// writes at a time. Programs that this process starts do not inherit it.
class PipeEnd {
public:
    using Native = std::intptr_t;
    static constexpr Native none = -1;

    PipeEnd() = default;
    explicit PipeEnd(Native native) : m_native(native) {}
    PipeEnd(PipeEnd&& other) noexcept : m_native(other.release()) {}
    PipeEnd& operator=(PipeEnd&& other) noexcept {
        if (this != &other) {
            close();
            m_native = other.release();
        }
        return *this;
    }
    PipeEnd(const PipeEnd&) = delete;
    PipeEnd& operator=(const PipeEnd&) = delete;
    ~PipeEnd() { close(); }

    // Waits for bytes and reads at most `size` of them. Returns how many, 0 at the end of the pipe.
    std::size_t read(char* to, std::size_t size) const;

    // Writes all of it. Returns false if nobody reads any more; the process gets no signal.
    bool write(const std::string& text) const; // NOLINT(modernize-use-nodiscard)

    void close();
    Native release() { return std::exchange(m_native, none); }
    [[nodiscard]] Native native() const { return m_native; }

private:
    Native m_native = none;
};

} // namespace tarvix
