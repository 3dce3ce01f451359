#pragma once

#include <string>

namespace tarvix {

/// The number with so many decimals and a point, in every locale: for sentences.
std::string fixedNumber(double value, int decimals);

} // namespace tarvix
