// Whether a command line names what there is.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace host {

// Throws BadUsage, with the nearest name, for a command or an option that does not exist. The
// parser would only say that something is missing, or that something is too much.
//   app  has the commands, and the options of the one that is named
void requireKnownNames(const CLI::App& app, const std::vector<std::string>& words);

} // namespace host
