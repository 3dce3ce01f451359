// Which memory of this process the system was asked to map by large pages.
#pragma once

#include <cstddef>
#include <optional>

namespace test {

// Bytes of the block that are in mappings with that advice. No value if the system has no large
// pages by advice, or does not say.
std::optional<std::size_t> advisedBytes(const void* block, std::size_t bytes);

} // namespace test
