// How --help shows options.
#pragma once

#include <memory>

namespace CLI {
class FormatterBase;
}

namespace host {

// As CLI11 does it, but with the options that an option excludes in the order of their names.
// CLI11's own order is that of their addresses, so it may differ from build to build.
std::shared_ptr<CLI::FormatterBase> helpFormat();

} // namespace host
