// The command stitch: photographs that overlap, joined into a panorama.
#pragma once

#include "features/panorama.h"
#include "host/result.h"

#include <string>
#include <vector>

namespace host {

// Joins the files as tx_Stitch does: the same operation, which also says what it leaves out. The
// data has what is said of every image that is written, and "leftOut": file and reason. Throws
// Failure if they cannot be joined.
//   out  the file that the image will be written to
Result joinPhotographs(const std::vector<std::string>& files, const std::string& out);

// Why a photograph is not in the panorama, in a few words.
std::string whyNotJoined(const tarvix::PanoramaPart& part, const std::vector<std::string>& files);

} // namespace host
