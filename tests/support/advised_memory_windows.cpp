#include "tests/support/advised_memory.h"

namespace test {

std::optional<std::size_t> advisedBytes(const void* /*block*/, std::size_t /*bytes*/) {
    return {};
}

} // namespace test
