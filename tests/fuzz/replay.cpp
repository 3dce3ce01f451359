// Runs the seeds, and the inputs that have failed, through the fuzzer's entry point.
#include "tests/fuzz/fuzzing.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

TEST(Replay, EveryInputOfTheCorpusEndsAsDocumented) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TARVIX_CORPUS)) {
        SCOPED_TRACE(entry.path().filename().string());
        const std::string input = test::bytesOf(entry.path().string());
        EXPECT_NO_THROW(LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()),
                                               input.size()));
        ++count;
    }
    EXPECT_GT(count, 0);
}

} // namespace
