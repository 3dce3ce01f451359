// The command register: files of one scene, warped onto the canvas of the first.
#pragma once

#include "host/command.h"

#include <string>
#include <vector>

namespace host {

struct RegisterOptions : CommonOptions {
    std::vector<std::string> images; // files, the reference first
    std::string names;               // folder for the results, or a pattern with {} for the number
    std::string overlay;             // file for the mean of the results; empty: none
};

// Writes one file for each image that registers, and leaves the others out. The data has "canvas"
// and "images": input, output (null if left out) and then the reason. Throws Failure if none
// registers; nothing is written then.
Result registerImages(const RegisterOptions& options);

std::string registrationAsText(const Json& data);

} // namespace host
