// What the calibrations print for a reader.
#pragma once

#include "assist/fixed_number.h"
#include "host/result.h"

#include <string>

namespace host {

// Of what cameraAsJson gives.
std::string cameraAsText(const Json& camera);

// Of a pair's data.
std::string pairAsText(const Json& pair);

using tarvix::fixedNumber; // the pages print the same numbers

} // namespace host
