#include "faces/live/live.h"

#include "platform/system/late_library.h"

#include <opencv2/core.hpp>

#include <stdexcept>

namespace tarvix {

namespace {

using Function = int (*)();

Function find(const char* name) {
    try {
        return reinterpret_cast<Function>(lateFunction(TARVIX_LIVE_LIBRARY, name));
    } catch (const std::runtime_error& e) {
        CV_Error(cv::Error::StsError, e.what());
    }
}

} // namespace

int trackFace() {
    static const Function function =
        find("tarvixTrackFace"); // if it throws, the next call tries again
    return function();
}

bool hasCamera() {
    static const Function function = find("tarvixHasCamera");
    return function() != 0;
}

} // namespace tarvix
