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
    return !command.internal && command.name != "track" && command.name != "import-calib" &&
           std::find(families.begin(), families.end(), command.family) != families.end();
}

} // namespace workbench
