#include "platform/system/listening.h"

namespace tarvix {

bool portsLinger() {
    return false;
}

} // namespace tarvix
