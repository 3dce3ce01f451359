// The seeds and the inputs that once failed, through the fuzzer's entry point.
#include "tests/fuzz/fuzzing.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

TEST(Replay, EveryInputOfTheCorpusEndsAsDocumented) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TARVIX_CORPUS)) {
        SCOPED_TRACE(entry.path().filename().string());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string input(std::istreambuf_iterator<char>(file), {});
        EXPECT_NO_THROW(LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()),
                                               input.size()));
        ++count;
    }
    EXPECT_GT(count, 0);
}

} // namespace
