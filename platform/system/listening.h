// What differs between the systems about ports that a server listens on.
#pragma once

#include <cstdint>

namespace tarvix {

// True if the system keeps a port taken for a while after a server's end, unless the next server
// asks for its reuse. Where it does not, asking would let other programs take the port over.
bool portsLinger();

// Keeps a socket from the programs that this one starts from now on: a server's port would stay
// taken as long as they run. `socket` is the system's handle.
void keepFromChildren(std::uintptr_t socket);

} // namespace tarvix
