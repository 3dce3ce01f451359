// How much memory this process uses.
#pragma once

#include <cstddef>

namespace test {

// The largest amount that was resident so far, bytes.
std::size_t peakMemory();

// Whether a sanitizer's own memory counts among it.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isInstrumented = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool isInstrumented = true;
#else
inline constexpr bool isInstrumented = false;
#endif
#else
inline constexpr bool isInstrumented = false;
#endif

} // namespace test
