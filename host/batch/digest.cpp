#include "host/batch/digest.h"

#include "platform/system/paths.h"

#define XXH_INLINE_ALL // no library to link or to bring
#include <xxhash.h>

#include <array>
#include <charconv>
#include <fstream>
#include <memory>
#include <vector>

namespace host {

namespace {

Digest from(const XXH128_hash_t& hash) {
    return {.high = hash.high64, .low = hash.low64};
}

} // namespace

Digest digestOf(const std::string& bytes) {
    return from(XXH3_128bits(bytes.data(), bytes.size()));
}

std::optional<Digest> digestOfFile(const std::string& path) {
    std::ifstream file(tarvix::pathOf(path), std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    const std::unique_ptr<XXH3_state_t, decltype(&XXH3_freeState)> state(XXH3_createState(),
                                                                         &XXH3_freeState);
    XXH3_128bits_reset(state.get());
    constexpr std::size_t atOnce = std::size_t{1} << 18U;
    std::vector<char> part(atOnce);
    do {
        file.read(part.data(), static_cast<std::streamsize>(part.size()));
        XXH3_128bits_update(state.get(), part.data(), static_cast<std::size_t>(file.gcount()));
    } while (file);
    return file.bad() ? std::nullopt : std::optional(from(XXH3_128bits_digest(state.get())));
}

std::string asText(const Digest& digest) {
    constexpr std::size_t digits = 16;
    constexpr int hexadecimal = 16;
    std::string text;
    for (const std::uint64_t half : {digest.high, digest.low}) {
        std::array<char, digits> part{};
        const char* const end =
            std::to_chars(part.data(), part.data() + digits, half, hexadecimal).ptr;
        const auto used = static_cast<std::size_t>(end - part.data());
        text.append(digits - used, '0').append(part.data(), used);
    }
    return text;
}

std::optional<Digest> digestFrom(const std::string& text) {
    constexpr std::ptrdiff_t digits = 16;
    constexpr int hexadecimal = 16;
    Digest digest;
    const char* const begin = text.data();
    const char* const middle = begin + digits;
    if (text.size() != 2 * digits ||
        std::from_chars(begin, middle, digest.high, hexadecimal).ptr != middle ||
        std::from_chars(middle, middle + digits, digest.low, hexadecimal).ptr != middle + digits) {
        return std::nullopt;
    }
    return digest;
}

} // namespace host
