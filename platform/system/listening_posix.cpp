#include "platform/system/listening.h"

namespace tarvix {

bool portsLinger() {
    return true;
}

} // namespace tarvix
