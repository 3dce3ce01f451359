// What the manifests of a batch say together: the command batch-summary.
#pragma once

#include "host/command.h"

#include <string>
#include <vector>

namespace host {

struct SummaryOptions : CommonOptions {
    std::vector<std::string> manifests;
    std::string merged; // file for all lines; empty: none
};

// Counts the images by their last lines, lists the failed ones. The status is 1 if one failed or
// has no line, if there are no lines at all, or if the lines are of several batches. Throws Failure
// for a manifest that cannot be read, and if the file for all lines is one of the manifests.
Result summarise(const SummaryOptions& options);

std::string summaryAsText(const Json& data);

} // namespace host
