// What the fuzzers share. Each has one entry point, LLVMFuzzerTestOneInput, which libFuzzer or
// replay.cpp calls. If a result is not a documented one, it throws or the process ends.
#pragma once

#include "tests/support/exports.h"
#include "tests/support/images.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace fuzz {

// The input, taken piece by piece. After its end it gives zeros.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size)
        : m_rest(reinterpret_cast<const char*>(data), size) {}

    template <class T>
    T take() {
        T value{};
        const std::size_t n = std::min(sizeof value, m_rest.size());
        std::memcpy(&value, m_rest.data(), n);
        m_rest.erase(0, n);
        return value;
    }
    std::uint8_t byte() { return take<std::uint8_t>(); }

    // Takes as many characters as the next byte says.
    std::string text() {
        const std::size_t n = std::min<std::size_t>(byte(), m_rest.size());
        std::string taken = m_rest.substr(0, n);
        m_rest.erase(0, n);
        return taken;
    }

    [[nodiscard]] const std::string& rest() const { return m_rest; }

private:
    std::string m_rest;
};

// Mostly small numbers, and those at which arithmetic goes wrong.
int oddInt(Bytes& in);
double oddDouble(Bytes& in);

// A bitmap of 8 or 24 bits filled with `content` again and again.
test::Dib smallBitmap(int width, int height, int bitCount, const std::string& content);

// The files that the calls work on. The first use prepares the process: messages are captured, and
// one thread does everything. A matrix of more than 16 MB is refused as if memory had run out, so
// that sizes which would only take long to fill end at once.
const test::Workplace& workplace();

// Makes the call. Throws std::logic_error if a bitmap is left behind or the export throws what its
// declaration does not name. Only cv::Exception is accepted, even if the export may throw any
// exception: here, a lack of memory always shows as OpenCV's.
test::Outcome call(const char* name, test::Arguments& arguments);

} // namespace fuzz

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzing engine's name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
