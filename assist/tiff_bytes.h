// Numbers and directories in the bytes of a TIFF structure, which may be anything: every place is
// checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvix {

// The types of values that matter here, as TIFF numbers them.
inline constexpr std::uint16_t tiffByte = 1, tiffShort = 3, tiffLong = 4, tiffRational = 5,
                               tiffUndefined = 7;

// Bytes of one value of the type; 0 for a type that TIFF does not have.
std::size_t tiffTypeSize(std::uint16_t type);

// One entry of a directory.
struct TiffEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint32_t count = 0;
    std::size_t at = 0;   // where its value is
    std::size_t size = 0; // of the value, bytes; all inside the bytes
};

struct TiffDirectory {
    std::vector<TiffEntry> entries; // those whose values are inside the bytes
    std::size_t nextAt = 0; // where the offset of the next directory is; 0 if there is no room
    std::uint32_t next = 0; // that offset; 0: none

    [[nodiscard]] const TiffEntry* find(std::uint16_t tag) const;
};

class TiffBytes {
public:
    // `bytes` must outlive it.
    explicit TiffBytes(std::string& bytes);

    // Whether they begin as a TIFF structure (not as a BigTIFF).
    [[nodiscard]] bool good() const { return m_good; }
    [[nodiscard]] bool littleEndian() const { return m_little; }
    [[nodiscard]] std::uint32_t firstDirectory() const;
    [[nodiscard]] std::optional<TiffDirectory> directory(std::size_t at) const;

    // The first value as a number; a rational as its quotient. No value for other types, and for
    // one that is not finite.
    [[nodiscard]] std::optional<double> number(const TiffEntry* entry) const;
    [[nodiscard]] std::optional<double> number(const TiffDirectory& directory,
                                               std::uint16_t tag) const;

    // Overwrites the first value of an entry that is a short or a long, or the numerator of a
    // rational.
    void set(const TiffEntry& entry, std::uint32_t value);

    // Places must be inside the bytes.
    [[nodiscard]] std::uint16_t u16(std::size_t at) const;
    [[nodiscard]] std::uint32_t u32(std::size_t at) const;
    void put16(std::size_t at, std::uint16_t value);
    void put32(std::size_t at, std::uint32_t value);

private:
    [[nodiscard]] unsigned byte(std::size_t at) const {
        return static_cast<unsigned char>(m_bytes[at]);
    }
    std::string& m_bytes;
    bool m_little = true;
    bool m_good = false;
};

} // namespace tarvix
