// Where the rows of a bitmap are in its memory, computed without the code under test.
#pragma once

#include <cstddef>
#include <cstdlib>

namespace test {

// The bytes from one row to the next: rows are padded to a multiple of 4 bytes.
inline std::size_t rowBytes(int width, int bitCount) {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bitCount) + 31) / 32 * 4;
}

// The same for a bitmap's header. Only the header's names are needed here, not its type.
template <class Header>
std::size_t rowBytes(const Header& header) {
    return rowBytes(static_cast<int>(header.biWidth), header.biBitCount);
}

// All rows, padding included.
template <class Header>
std::size_t storedBytes(const Header& header) {
    return rowBytes(header) * static_cast<std::size_t>(std::abs(static_cast<int>(header.biHeight)));
}

} // namespace test
