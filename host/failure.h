// How a command of the sample host fails.
#pragma once

#include <stdexcept>

namespace host {

// The operation failed. The user is told the text as "tarvix: <text>"; the exit status is 1.
class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The text of a failure whose reason the module has shown already: nothing more is printed.
constexpr const char* alreadyShown = "";

// The command line makes no sense. The user is told the text and where the usage is shown; the exit
// status is 2.
class BadUsage : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace host
