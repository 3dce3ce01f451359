// What differs between the systems about ports that a server listens on.
#pragma once

namespace tarvix {

// True if the system keeps a port taken for a while after a server's end, unless the next server
// asks for its reuse. Where it does not, asking would let other programs take the port over.
bool portsLinger();

} // namespace tarvix
