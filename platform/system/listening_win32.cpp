#include "platform/system/listening.h"

#include <windows.h>

namespace tarvix {

bool portsLinger() {
    return false;
}

void keepFromChildren(std::uintptr_t socket) {
    static_cast<void>(
        SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0));
}

} // namespace tarvix
