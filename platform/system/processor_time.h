// What this process has used of the processors.
#pragma once

namespace tarvix {

// Seconds that its threads have run since its start, all together.
double processorSeconds();

} // namespace tarvix
