#include "host/commands.h"

#include <utility>

namespace host {

namespace {

std::vector<Command> collected() {
    struct Family {
        const char* name; // of the module's folder
        std::vector<Command> (*commands)();
    };
    std::vector<Command> all;
    for (const auto& [name, commands] :
         {Family{"filters", filterCommands}, Family{"filters", boardCommands},
          Family{"faces", faceCommands}, Family{"geometry", straighteningCommands},
          Family{"geometry", geometryCommands}, Family{"calib", calibrationCommands},
          Family{"calib", stereoCommands}, Family{"features", featureCommands},
          Family{"gallery", galleryCommands}, Family{"batch", batchCommands},
          Family{"workers", workerCommands}, Family{"workers", previewCommands}}) {
        for (Command& command : commands()) {
            command.family = name;
            all.push_back(std::move(command));
        }
    }
    return all;
}

} // namespace

namespace {

std::vector<Command>& table() {
    static std::vector<Command> all = collected();
    return all;
}

} // namespace

const std::vector<Command>& commands() {
    return table();
}

void addCommand(Command command) {
    table().push_back(std::move(command));
}

} // namespace host
