#include "workbench/operations.h"

#include "host/commands.h"

#include <algorithm>
#include <array>

namespace workbench {

namespace {

std::vector<Operation> collected() {
    std::vector<Operation> all;
    for (const host::Command& command : host::commands()) {
        if (isOffered(command)) {
            all.push_back({.name = command.name,
                           .takes = command.takes,
                           .options = host::optionsOf(command)});
        }
    }
    return all;
}

} // namespace

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all = collected();
    return all;
}

bool isOffered(const host::Command& command) {
    constexpr std::array<const char*, 5> families = {"filters", "faces", "geometry", "calib",
                                                     "features"};
    // They want a camera, a file of another program, and a second image as an option, which the
    // page's registration takes for all images of a set.
    constexpr std::array<const char*, 3> others = {"track", "import-calib", "register-to"};
    return !command.internal &&
           std::find(others.begin(), others.end(), command.name) == others.end() &&
           std::find(families.begin(), families.end(), command.family) != families.end();
}

} // namespace workbench
