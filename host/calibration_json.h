// What is known of a calibration, as JSON. The text, the report and --json show the same numbers.
#pragma once

#include "assist/calibration_quality.h"
#include "assist/metric_stereo.h"
#include "assist/refit.h"
#include "host/calibration_set.h"
#include "host/result.h"

#include <optional>
#include <string>
#include <vector>

namespace host {

// Everything about one camera: size, rms, cross-validation, parameters, images with corners and
// residuals, coverage, spread, the deviation of projected points, the lens's displacements,
// findings.
//   files  of the views
Json cameraAsJson(const tarvix::CalibrationQuality& quality,
                  const std::vector<tarvix::SeenBoard>& views,
                  const std::vector<std::string>& files);

Json leftOutAsJson(const std::vector<LeftOut>& leftOut);
Json droppedAsJson(const tarvix::Refit& refit, const std::vector<std::string>& names);

// What a pair's rectification does: row errors, and the squares as they are measured.
//   files   left right left right ...
//   metric  of a metric calibration
Json rectificationAsJson(const std::vector<tarvix::SeenPair>& pairs, cv::Size pattern,
                         const tarvix::RectifyingPair& rectifying,
                         const std::vector<std::string>& files,
                         const std::optional<tarvix::MetricPair>& metric);

} // namespace host
