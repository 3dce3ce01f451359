#include "workbench/version.h"

namespace workbench {

const char* version() {
    return TARVIX_VERSION;
}

} // namespace workbench
