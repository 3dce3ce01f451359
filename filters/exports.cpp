#include <tarvix/filters.h>

#include "bridge/dib_bridge.h"
#include "bridge/guard.h"
#include "filters/pixel_filters.h"

using namespace tarvix;

// No handler, on purpose: an exception of the decoder passes out to the host.
CDib* tx_LoadFile(const char* path) {
    return MatToDib(loadColour(path));
}

// No handler, on purpose: what OpenCV refuses passes out to the host.
CDib* tx_Canny(CDib& src, double threshold1, double threshold2, int apertureSize, int l2Gradient) {
    return MatToDib(
        cannyEdges(DibToMat(src), threshold1, threshold2, apertureSize, l2Gradient != 0));
}

CDib* tx_Denoise(CDib& src, float h, float hColor, int templateWindowSize, int searchWindowSize) {
    return showCvSwallowRest<CDib*>(nullptr, [&] {
        return orFail(MatToDib(
            denoiseColour(DibToMat(src), h, hColor, templateWindowSize, searchWindowSize)));
    });
}

CDib* tx_getRectSubPix(CDib& src, int width, int height, float centerX, float centerY) {
    return showCvSwallowRest<CDib*>(nullptr, [&] {
        return orFail(MatToDib(subPixelPatch(DibToMat(src), {width, height}, {centerX, centerY})));
    });
}
