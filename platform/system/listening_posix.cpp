#include "platform/system/listening.h"

#include <fcntl.h>

namespace tarvix {

bool portsLinger() {
    return true;
}

void keepFromChildren(std::uintptr_t socket) {
    static_cast<void>(fcntl(static_cast<int>(socket), F_SETFD, FD_CLOEXEC));
}

} // namespace tarvix
