// What a command line must not do to files.
#pragma once

namespace CLI {
class App;
}

namespace host {

// Throws Failure if a file that the command line names for writing
// - is one that it names for reading, is in a folder of photographs that it names, or is one of the
//   calibration files of a folder that it names,
// - is named twice, or
// - has no folder to be written into. That of the results is made when it is needed.
// Links are followed. It is called once the command line is read and before any work is done.
//   parser  of the command
void requireSafeOutputs(const CLI::App& parser);

} // namespace host
