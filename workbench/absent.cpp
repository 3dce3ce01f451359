#include "host/failure.h"
#include "workbench/workbench.h"

namespace workbench {

void runWorkbench(const WorkbenchOptions& /*options*/, host::Output& /*output*/) {
    throw host::Failure("this tarvix was built without its workbench: the build found no Boost");
}

} // namespace workbench
