#include "tiff_bytes.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarvix {

std::size_t tiffTypeSize(std::uint16_t type) {
    constexpr std::array<std::size_t, 14> sizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
    return type < sizes.size() ? sizes.at(type) : 0;
}

const TiffEntry* TiffDirectory::find(std::uint16_t tag) const {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [tag](const TiffEntry& entry) { return entry.tag == tag; });
    return found == entries.end() ? nullptr : &*found;
}

TiffBytes::TiffBytes(std::string& bytes) : m_bytes(bytes) {
    if (bytes.size() < 8 || (bytes.compare(0, 2, "II") != 0 && bytes.compare(0, 2, "MM") != 0)) {
        return;
    }
    m_little = bytes[0] == 'I';
    m_good = u16(2) == 42 && firstDirectory() >= 8 && directory(firstDirectory()).has_value();
}

std::uint32_t TiffBytes::firstDirectory() const {
    return u32(4);
}

std::optional<TiffDirectory> TiffBytes::directory(std::size_t at) const {
    const std::size_t end = m_bytes.size();
    if (at < 8 || at > end || end - at < 2) {
        return std::nullopt;
    }
    const std::size_t count = u16(at);
    if ((end - at - 2) / 12 < count) {
        return std::nullopt;
    }
    TiffDirectory result;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t place = at + 2 + 12 * i;
        TiffEntry entry{.tag = u16(place), .type = u16(place + 2), .count = u32(place + 4)};
        const std::size_t unit = tiffTypeSize(entry.type);
        if (unit == 0 || entry.count > end / unit) {
            continue;
        }
        entry.size = unit * entry.count;
        entry.at = entry.size <= 4 ? place + 8 : u32(place + 8);
        if (entry.at <= end && entry.size <= end - entry.at) {
            result.entries.push_back(entry);
        }
    }
    const std::size_t next = at + 2 + 12 * count;
    if (end - next >= 4) {
        result.nextAt = next;
        result.next = u32(next);
    }
    return result;
}

std::optional<double> TiffBytes::number(const TiffEntry* entry) const {
    if (entry == nullptr || entry->count == 0) {
        return std::nullopt;
    }
    switch (entry->type) {
    case tiffShort:
        return u16(entry->at);
    case tiffLong:
        return u32(entry->at);
    case tiffRational: {
        const double quotient = static_cast<double>(u32(entry->at)) / u32(entry->at + 4);
        return std::isfinite(quotient) ? std::optional(quotient) : std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

std::optional<double> TiffBytes::number(const TiffDirectory& directory, std::uint16_t tag) const {
    return number(directory.find(tag));
}

void TiffBytes::set(const TiffEntry& entry, std::uint32_t value) {
    if (entry.type == tiffShort && entry.count > 0 && value <= 0xFFFF) {
        put16(entry.at, static_cast<std::uint16_t>(value));
    } else if ((entry.type == tiffLong || entry.type == tiffRational) && entry.count > 0) {
        put32(entry.at, value);
    }
}

std::uint16_t TiffBytes::u16(std::size_t at) const {
    const unsigned a = byte(at), b = byte(at + 1);
    return static_cast<std::uint16_t>(m_little ? b << 8 | a : a << 8 | b);
}

std::uint32_t TiffBytes::u32(std::size_t at) const {
    const std::uint32_t a = u16(at), b = u16(at + 2);
    return m_little ? b << 16 | a : a << 16 | b;
}

void TiffBytes::put16(std::size_t at, std::uint16_t value) {
    const auto low = static_cast<char>(value & 0xFF), high = static_cast<char>(value >> 8);
    m_bytes[at] = m_little ? low : high;
    m_bytes[at + 1] = m_little ? high : low;
}

void TiffBytes::put32(std::size_t at, std::uint32_t value) {
    put16(m_little ? at : at + 2, static_cast<std::uint16_t>(value & 0xFFFF));
    put16(m_little ? at + 2 : at, static_cast<std::uint16_t>(value >> 16));
}

} // namespace tarvix
