// The classifiers of faces, which are in files beside the host's executable.
#pragma once

#include "bridge/decimal_point.h"
#include "bridge/executable_folder.h"

#include <opencv2/objdetect.hpp>

#include <string>

namespace tarvix {

// Does not check whether the cascade was loaded, on purpose: if it is missing or is not a cascade,
// the first detection throws the cv::Exception that the user sees.
inline void loadCascade(cv::CascadeClassifier& classifier, const char* fileName) {
    const std::string path = besideExecutable(fileName);
    if (!path.empty()) {
        const DecimalPoint point;
        classifier.load(path);
    }
}

} // namespace tarvix
