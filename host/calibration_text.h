// What the calibrations print for a reader.
#pragma once

#include "host/result.h"

#include <string>

namespace host {

// Of what cameraAsJson gives.
std::string cameraAsText(const Json& camera);

// Of a pair's data.
std::string pairAsText(const Json& pair);

// Numbers as people read them, with a point in every locale.
std::string fixedNumber(double value, int digits);

} // namespace host
