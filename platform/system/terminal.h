// Where standard output goes.
#pragma once

namespace tarvix {

// True if a person sees standard output in a terminal, false for a file or a pipe.
bool isOutputTerminal();

} // namespace tarvix
