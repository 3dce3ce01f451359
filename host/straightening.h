// Straightening a photographed rectangle: what the command converge does beside the export.
#pragma once

#include "host/command.h"
#include "host/options.h"

#include <MorvelDib.h>

#include <optional>
#include <string>
#include <vector>

namespace host {

struct StraighteningOptions : CommonOptions {
    std::optional<Corners> corners{}; // none if a correction is applied
    bool automatic = false;           // take the best proposal
    bool asGiven = false;             // do not sort or check the corners
    std::optional<double> focal{};    // mm, 35-mm equivalent; 0: search it; none: as the file says
    double cropFactor = 0;            // 35-mm equivalent per focal length of the lens; 0: not known
    double scale = 1;
    Point offset{};
    bool pitchOnly = false;
    bool crop = false;
    bool fit = false;
    std::string save{};                 // file for the correction
    std::string apply{};                // file with one
    std::vector<std::string> overlay{}; // none, or two
};

// Straightens the image. The data are what was found, as converge prints them. Throws Failure for
// corners that no rectangle has and for a canvas that cannot be made; BadUsage if nothing says
// where the corners are.
Result straighten(const StraighteningOptions& options, CDib& in);

// The data as lines of text.
std::string straighteningAsText(const Json& data);

} // namespace host
