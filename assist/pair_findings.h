// Whether a metric calibration of a pair can be trusted, in sentences.
#pragma once

#include "calibration_quality.h"
#include "metric_stereo.h"

#include <string>
#include <vector>

namespace tarvix {

// The doubts; one good word if there are none. What each camera's own views say is not repeated.
//   squares  squareLengths() of the pairs; `square` is what they should be
//   names    of the pairs, such as "'left01.jpg' and 'right01.jpg'"
std::vector<Finding> findingsOfPair(const MetricPair& pair, const RowErrors& rows,
                                    const std::vector<double>& squares, double square,
                                    const std::vector<std::string>& names);

} // namespace tarvix
