#include <tarvix/geometry.h>

#include "bridge/dib_bridge.h"
#include "geometry/projective_warp.h"

using namespace tarvix;

// No handler in this file, on purpose: what OpenCV refuses passes out to the host.

CDib* tx_Projective(CDib& image, double* srcCorners, double* dstCorners) {
    const cv::Mat picture = DibToMat(image);
    const ProjectiveCanvas canvas =
        fitCanvas(cornersFromArray(srcCorners), cornersFromArray(dstCorners));
    return MatToDib(warpOntoCanvas(picture, canvas));
}

CDib* tx_GetProjectiveMask(CDib& image, double* srcCorners, double* dstCorners) {
    const DibView picture = viewOf(image);
    const ProjectiveCanvas canvas =
        fitCanvas(cornersFromArray(srcCorners), cornersFromArray(dstCorners));
    return MatToDib(coverageOnCanvas({picture.width, picture.rows}, canvas));
}
