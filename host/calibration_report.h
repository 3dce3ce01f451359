// The report on a calibration: one page that people can judge it by, made of the data that --json
// prints and of the photographs.
#pragma once

#include "host/result.h"

#include <string>
#include <vector>

namespace host {

// The pages of the commands calib and stereo-calib.
//   data     what the command gives as its data
//   command  the words of the command line, shown on the page
// A photograph that cannot be read any more is left out of the page.
std::string cameraReport(const Json& data, const std::vector<std::string>& command);
std::string pairReport(const Json& data, const std::vector<std::string>& command);

} // namespace host
