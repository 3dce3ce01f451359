// How --help shows options.
#include "host/help_format.h"

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// The help of an option that excludes others, which were made in that order.
std::string helpWith(const std::vector<std::string>& others) {
    CLI::App app;
    app.formatter(host::helpFormat());
    CLI::Option* const main = app.add_flag("--main");
    for (const std::string& other : others) {
        main->excludes(app.add_flag(other));
    }
    return app.help();
}

// CLI11's order is that of addresses, which is that of the names in one of these at most.
TEST(HelpFormat, ExclusionsAreInTheOrderOfTheirNames) {
    std::vector<std::string> others = {"--a", "--b", "--c", "--d", "--e", "--f"};
    const std::string shown = "--main Excludes: --a --b --c --d --e --f\n";
    do {
        EXPECT_THAT(helpWith(others), testing::HasSubstr(shown));
    } while (std::next_permutation(others.begin(), others.begin() + 3));
}

} // namespace
