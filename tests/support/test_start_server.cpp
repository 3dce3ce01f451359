// Programs that are loaded once and run many times (start_server.cpp).
#include "tests/support/environment.h"
#include "tests/support/files.h"
#include "tests/support/program.h"
#include "tests/support/start_server_client.h"

#include <gmock/gmock.h>

#include <csignal>
#include <optional>
#include <string>

#include <sys/wait.h>

namespace {

using testing::StartsWith;

class StartServer : public testing::Test {
protected:
    test::TempFolder folder;

    [[nodiscard]] std::optional<int> run(const std::string& argument) const {
        return test::runFromServer(TARVIX_PROGRAM_PROBE, {argument}, folder / "out",
                                   folder / "err");
    }
};

TEST_F(StartServer, ServesFromTheSecondRunInAnEnvironmentOn) {
    const test::ScopedEnvironment scope("TARVIX_PROBE", "of this test");
    EXPECT_EQ(run("5"), std::nullopt);
    for (int i = 0; i < 3; ++i) {
        const std::optional<int> status = run("5");
        ASSERT_TRUE(status);
        EXPECT_EQ(WEXITSTATUS(*status), 5);
        EXPECT_THAT(test::bytesOf(folder / "out"), StartsWith("<5>\nenvironment of this test\n"));
        EXPECT_EQ(test::bytesOf(folder / "err"), "told apart\n");
    }
    const test::ScopedEnvironment other("TARVIX_PROBE", "changed");
    EXPECT_EQ(run("5"), std::nullopt);
}

TEST_F(StartServer, OutlivesARunThatASignalEnds) {
    for (int i = 0; i < 4; ++i) {
        const test::ProgramResult result = test::runProgram(TARVIX_PROGRAM_PROBE, {"signal"});
        EXPECT_EQ(result.status, 128 + SIGTERM);
        EXPECT_THAT(result.out, StartsWith("<signal>\n"));
    }
    const std::optional<int> status = run("signal");
    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFSIGNALED(*status));
    EXPECT_EQ(WTERMSIG(*status), SIGTERM);
}

TEST_F(StartServer, LeavesMissingProgramsToTheShell) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(test::runProgram(folder / "nothing", {}).status, 127);
    }
}

} // namespace
