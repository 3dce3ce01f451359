// Programs that tests run: each run behaves as a new start, even if it is not one.
#include "tests/support/environment.h"
#include "tests/support/files.h"
#include "tests/support/program.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace {

using test::ProgramResult;
using test::runProgram;
using test::ScopedEnvironment;
using testing::HasSubstr;
using testing::StartsWith;

// With its drive on Windows: a test changes to a folder that may be on another one.
const std::string probe = std::filesystem::absolute(TARVIX_PROGRAM_PROBE).string();

ProgramResult run(const std::vector<std::string>& arguments = {}) {
    return runProgram(probe, arguments);
}

// The first run in an environment is a start; later ones may not be.
constexpr int runs = 4;

TEST(RunProgram, PassesArgumentsAsTheyAre) {
    for (int i = 0; i < runs; ++i) {
        const ProgramResult result =
            run({"0", "", "two words", "it's", "\"quoted\"", "back\\slash", "$HOME *", "last"});
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.out, StartsWith("<0>\n<>\n<two words>\n<it's>\n<\"quoted\">\n"
                                           "<back\\slash>\n<$HOME *>\n<last>\n"));
        EXPECT_THAT(result.out, HasSubstr("\ninput -1\n")) << "nothing to read";
        EXPECT_EQ(result.err, "told apart\n");
    }
}

TEST(RunProgram, GivesTheExitStatus) {
    for (int i = 0; i < runs; ++i) {
        EXPECT_EQ(run({std::to_string(i)}).status, i);
    }
}

TEST(RunProgram, PassesTheEnvironmentOfTheMoment) {
    for (const std::optional<std::string>& value :
         {std::optional<std::string>("one"), std::optional<std::string>("two"),
          std::optional<std::string>()}) {
        const ScopedEnvironment scope("TARVIX_PROBE", value);
        for (int i = 0; i < runs; ++i) {
            EXPECT_THAT(run().out, HasSubstr("environment " + value.value_or("unset") + "\n"));
        }
    }
}

TEST(RunProgram, PassesTheFolderOfTheMoment) {
    const std::filesystem::path before = std::filesystem::current_path();
    const test::TempFolder folder;
    for (int i = 0; i < runs; ++i) {
        std::filesystem::current_path(i % 2 == 0 ? before : std::filesystem::path(folder.path()));
        const std::string now = std::filesystem::current_path().string();
        EXPECT_THAT(run().out, HasSubstr("folder " + now + "\n"));
    }
    std::filesystem::current_path(before);
}

TEST(RunProgram, RunsSeveralAtOnce) {
    std::vector<std::future<ProgramResult>> results;
    for (int i = 0; i < runs; ++i) {
        results.push_back(std::async(std::launch::async, [i] { return run({std::to_string(i)}); }));
    }
    for (int i = 0; i < runs; ++i) {
        const ProgramResult result = results[static_cast<std::size_t>(i)].get();
        EXPECT_EQ(result.status, i);
        EXPECT_THAT(result.out, StartsWith("<" + std::to_string(i) + ">\n"));
    }
}

} // namespace
