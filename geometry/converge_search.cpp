#include "converge_search.h"

#include "converge_scan.h"

namespace tarvix {

Pose findPose(const MarkedQuad& quad, double focalMm) {
    return converge_detail::PoseSearch<>(quad, focalMm).run();
}

} // namespace tarvix
