// The command line of this process, as far as multi-byte strings cannot hold it.
#pragma once

#include <optional>
#include <string>

namespace tarvix {

// The first word after the program's name with a character that the system's code page lacks; what
// main() is given for it names another file or none. In it, such characters are replaced as the
// system chooses. No value if every word is whole.
std::optional<std::string> damagedArgument();

} // namespace tarvix
