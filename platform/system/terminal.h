// Where standard input comes from and standard output goes.
#pragma once

namespace tarvix {

// True if a person types standard input in a terminal, false for a file or a pipe.
bool isInputTerminal();

// True if a person sees standard output in a terminal, false for a file or a pipe.
bool isOutputTerminal();

} // namespace tarvix
