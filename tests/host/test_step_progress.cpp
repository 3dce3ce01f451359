#include "host/step_progress.h"

#include <gmock/gmock.h>

#include <sstream>

namespace {

using testing::StartsWith;

std::string twoSteps(bool terminal, bool json = false) {
    std::ostringstream out;
    std::ostringstream errors;
    host::Output output(out, errors, terminal);
    if (json) {
        output.useJson();
    }
    {
        host::StepProgress progress(output, 2);
        progress.done("a-long-name.jpg", "board found");
        progress.done("b.jpg", "no board");
    }
    EXPECT_EQ(errors.str(), "");
    return out.str();
}

TEST(StepProgress, PrintsALineAStep) {
    EXPECT_EQ(twoSteps(false), "[1/2] a-long-name.jpg: board found\n[2/2] b.jpg: no board\n");
}

TEST(StepProgress, RewritesOneLineOnATerminal) {
    const std::string text = twoSteps(true);
    EXPECT_THAT(text, StartsWith("\r[1/2] a-long-name.jpg: board found\r[2/2] b.jpg: no board"));
    // Nothing of the longer line is left, and the line ends in the end.
    EXPECT_EQ(text.size(), 2 * std::string("\r[1/2] a-long-name.jpg: board found").size() + 1);
    EXPECT_EQ(text.find('\n'), text.size() - 1);
}

TEST(StepProgress, SaysNothingInJson) {
    EXPECT_EQ(twoSteps(true, true), "");
    EXPECT_EQ(twoSteps(false, true), "");
}

TEST(StepProgress, ALongLineDoesNotWrap) {
    std::ostringstream out;
    host::Output output(out, out, true);
    host::StepProgress progress(output, 1);
    progress.done(std::string(200, 'x'), "found");
    EXPECT_EQ(out.str().size(), 80U); // with the return to the line's beginning
}

} // namespace
