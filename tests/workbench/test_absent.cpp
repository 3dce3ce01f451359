// A build without Boost's headers: the command is there and says why it does nothing. This program
// has the source of such a build.
#include "host/commands.h"
#include "tests/host/in_process.h"
#include "workbench/command.h"

#include <gmock/gmock.h>

namespace {

TEST(AbsentWorkbench, SaysWhyInOneSentence) {
    host::addCommand(workbench::command());
    const test::ProgramResult result = test::inProcess({"workbench", "--no-open"});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("tarvix: this tarvix was built without its workbench: the build found no Boost\n",
              result.err);
}

} // namespace
