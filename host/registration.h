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
    std::string save;                // file for the table of homographies; empty: none
    std::string apply;               // such a file to be used instead of a search; empty: none
    bool crop = false;               // to the largest rectangle that all images cover
};

// Writes one file for each image that registers, and leaves the others out. The files are those of
// tx_MatchImages for those that register at the first try: the same operation, with how far it is
// and how many matches there were. A file of an earlier run stays if its image is left out now.
// The data has "canvas", the size of the results, "crop" (its place x, y and its size) if it was
// cut out, and "images": input, output (null if left out), the number of matches (not for the
// reference, and not with a table), and the reason if left out. Throws Failure if none registers;
// nothing is written then.
Result registerImages(const RegisterOptions& options, Output& output);

std::string registrationAsText(const Json& data);

} // namespace host
