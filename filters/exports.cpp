#include <tarvix/filters.h>

#include "bridge/dib_bridge.h"
#include "bridge/dib_view.h"
#include "bridge/guard.h"
#include "filters/chessboard.h"
#include "filters/lines.h"
#include "filters/pixel_filters.h"

#include <cmath>
#include <new>

using namespace tarvix;

// No handler, on purpose: an exception of the decoder propagates to the host.
CDib* tx_LoadFile(const char* path) {
    return MatToDib(loadColour(path));
}

// No handler, on purpose: what OpenCV refuses propagates to the host.
CDib* tx_Canny(CDib& src, double threshold1, double threshold2, int apertureSize, int l2Gradient) {
    return MatToDib(
        cannyEdges(DibToMat(src), threshold1, threshold2, apertureSize, l2Gradient != 0));
}

CDib* tx_Denoise(CDib& src, float h, float hColor, int templateWindowSize, int searchWindowSize) {
    return showCvSwallowRest<CDib*>(nullptr, [&] {
        const cv::Mat denoised =
            orFail(denoiseColour(DibToMat(src), h, hColor, templateWindowSize, searchWindowSize));
        return orFail(MatToDib(denoised));
    });
}

CDib* tx_getRectSubPix(CDib& src, int width, int height, float centerX, float centerY) {
    return showCvSwallowRest<CDib*>(nullptr, [&] {
        const cv::Mat source = DibToMat(src);
        const bool isAnswered = !source.empty() && !std::isnan(centerX) && !std::isnan(centerY);
        if (isAnswered && isBeyondBitmaps({width, height}, source.type())) {
            failSilently(); // before filling gigabytes in vain
        }
        const cv::Mat patch = orFail(subPixelPatch(source, {width, height}, {centerX, centerY}));
        return orFail(MatToDib(patch));
    });
}

// No handler, on purpose: what OpenCV refuses propagates to the host, `points` untouched.
int tx_FindLines(CDib& image, POINT*& points) {
    const DibView view = viewOf(image);
    const std::vector<cv::Vec4i> segments =
        findLines(DibToMat(image), shortestSegment(view.width, view.rows));
    points = new (std::nothrow) POINT[2 * segments.size()];
    if (points == nullptr) {
        return 0;
    }
    POINT* next = points;
    for (const cv::Vec4i& segment : segments) {
        *next++ = {segment[0], segment[1]};
        *next++ = {segment[2], segment[3]};
    }
    return static_cast<int>(segments.size());
}

CDib* tx_FindChessboard(CDib& image, int cornersPerRow, int cornersPerColumn, CString& corners) {
    return showCvSwallowRest<CDib*>(nullptr, [&] {
        const MarkedBoard board =
            orFail(markChessboard(DibToMat(image), {cornersPerRow, cornersPerColumn}));
        DibPtr result(orFail(MatToDib(board.image)));
        corners = cornerText(board.corners).c_str();
        return result.release();
    });
}
