// Digests that tell texts and files apart: XXH3 with 128 bits. Two that differ by accident have
// different digests; nobody is kept from making two that do not.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

namespace host {

struct Digest {
    std::uint64_t high = 0;
    std::uint64_t low = 0;
    auto operator<=>(const Digest&) const = default; // NOLINT(modernize-use-nullptr)
};

Digest digestOf(const std::string& bytes);

// Of a file's content; none if it cannot be read.
std::optional<Digest> digestOfFile(const std::string& path);

// 32 hexadecimal digits, and back. digestFrom() gives none for any other text.
std::string asText(const Digest& digest);
std::optional<Digest> digestFrom(const std::string& text);

} // namespace host
