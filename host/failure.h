// How a command of the sample host fails.
#pragma once

#include <stdexcept>

namespace host {

// The operation failed. The user is told the text as "tarvix: <text>"; the exit status is 1.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;

    // For a failure whose reason the module has shown already: nothing more is printed.
    static Failure alreadyShown() { return Failure(""); }
};

} // namespace host
