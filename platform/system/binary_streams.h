// Standard input and output as bytes. Some systems change line ends in them unless told not to.
#pragma once

#include <ostream>
#include <string>

namespace tarvix {

// Copies standard input, to its end, to a stream that takes bytes. Throws std::system_error if it
// cannot be read. Whoever calls looks at the stream's state.
void copyStandardInput(std::ostream& to);

// Writes the bytes to standard output at once. Returns false if it does not take all of them, also
// if nobody reads it any more.
bool writeStandardOutput(const std::string& bytes);

} // namespace tarvix
