// The command stereo-calib: with the module's export, or metric.
#pragma once

#include "host/calibrating.h"

#include <string>
#include <vector>

namespace host {

struct PairOptions : CalibrationOptions {
    std::vector<std::string> left, right;
    float square = 1;
    bool metric = false;
    bool refine = false;
};

// Calibrates from the pairs that can be used and says what is to be said of it. Throws Failure, and
// BadUsage for options that do not go together.
Result calibratePair(const PairOptions& options, const std::vector<StoredMatrix>& stored,
                     Output& output);

} // namespace host
