// The table of commands. Everything that must know them all reads it: the parser, and through its
// help the manual page and the completion; the gallery; the tests.
#pragma once

#include "host/command.h"

#include <vector>

namespace host {

// All commands, in the order in which --help lists them.
const std::vector<Command>& commands();

// Adds a command that is made elsewhere, with its family: one that is built on this table. Before
// anything reads it.
void addCommand(Command command);

// Those of one file in commands/.
std::vector<Command> filterCommands();
std::vector<Command> boardCommands();
std::vector<Command> faceCommands();
std::vector<Command> straighteningCommands();
std::vector<Command> geometryCommands();
std::vector<Command> calibrationCommands();
std::vector<Command> stereoCommands();
std::vector<Command> featureCommands();
std::vector<Command> galleryCommands();
std::vector<Command> workerCommands();
std::vector<Command> previewCommands();
std::vector<Command> batchCommands();

} // namespace host
