#include <tarvix/geometry.h>

#include "bridge/bitmap_matrices.h"
#include "bridge/dib_bridge.h"
#include "bridge/dib_view.h"
#include "bridge/large_matrices.h"
#include "geometry/converge.h"
#include "geometry/converge_search.h"
#include "geometry/homography_warp.h"
#include "geometry/projective_warp.h"

#include <windows.h>

#include <new>
#include <utility>

using namespace tarvix;

// No handler for OpenCV's exceptions in this file, on purpose: they propagate to the host.

namespace {

DibPtr newDib() {
    try {
        return std::make_unique<CDib>();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// The image to warp from. OpenCV's vectorised sampling keeps row steps in 16 bits and lets
// negative ones through unchecked: beyond that, it would read elsewhere, so it gets a copy.
cv::Mat sourceView(const DibView& image) {
    const cv::Mat view = imageViewOf(image);
    return image.stride > 0x7fff ? view.clone() : view;
}

} // namespace

CDib* tx_Projective(CDib& image, double* srcCorners, double* dstCorners) {
    const cv::Mat matrix = DibToMat(image);
    const ProjectiveCanvas canvas =
        fitCanvas(narrowedCornersFromArray(srcCorners), narrowedCornersFromArray(dstCorners));
    if (!matrix.empty() && isBeyondBitmaps(canvas.size, matrix.type())) {
        return nullptr; // before the warp fills gigabytes in vain
    }
    return resultToDib(warpOntoCanvas(matrix, canvas, bitmapMatrices()));
}

CDib* tx_GetProjectiveMask(CDib& image, double* srcCorners, double* dstCorners) {
    const DibView view = viewOf(image);
    const ProjectiveCanvas canvas =
        fitCanvas(narrowedCornersFromArray(srcCorners), narrowedCornersFromArray(dstCorners));
    const cv::Size imageSize(view.width, view.rows);
    if (!imageSize.empty() && isBeyondBitmaps(canvas.size, CV_8UC1)) {
        return nullptr; // before the warp fills gigabytes in vain
    }
    return resultToDib(coverageOnCanvas(imageSize, canvas, bitmapMatrices(), largeMatrices()));
}

CDib* tx_Converge(CDib& image, double* corners, double focal, double scale, double offsetX,
                  double offsetY, int pitchOnly, double* result) {
    cv::Mat pixels = DibToMat(image);
    // The clock is read around the work; nothing uses the values.
    LARGE_INTEGER frequency, start, end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);

    const MarkedQuad marked{pixels.size(), cornersFromArray(corners)};
    const Pose pose = findPose(marked, focal);
    const Corners corrected =
        correctCorners(marked, pose, {scale, offsetX, offsetY, pitchOnly != 0});
    warpOnWhite(pixels, marked.corners, corrected, bitmapMatrices());

    if (result != nullptr) {
        for (std::size_t i = 0; i < corrected.size(); ++i) {
            result[2 * i] = corrected.at(i).x;
            result[2 * i + 1] = corrected.at(i).y;
        }
        result[8] = pose.pitchDeg;
        result[9] = pose.yawDeg;
        result[10] = pose.rollDeg;
        result[11] = pose.focalMm;
    }
    QueryPerformanceCounter(&end);
    return resultToDib(std::move(pixels));
}

CDib* tx_ConvergeScaled(CDib& image, double* corners, double* target) {
    cv::Mat pixels = DibToMat(image);
    warpOnWhite(pixels, cornersFromArray(corners), cornersFromArray(target), bitmapMatrices());
    return resultToDib(std::move(pixels));
}

CDib* tx_PerspAlign(CDib& image, CDib& reference, double* imagePoints, double* referencePoints,
                    int fill0, int fill1, int fill2) {
    const DibView source = viewOf(image);
    if (source.bits == nullptr || source.bitCount != 24) {
        return nullptr;
    }
    DibPtr aligned = newDib();
    if (aligned == nullptr) {
        return nullptr;
    }
    const DibView frame = viewOf(reference);
    if (aligned->Create(frame.width, frame.rows, 24, nullptr, nullptr) == 0) {
        return nullptr;
    }
    cv::Mat destination = imageViewOf(viewOf(*aligned));
    warpInto(sourceView(source), destination, cornersFromArray(imagePoints),
             cornersFromArray(referencePoints), cv::Scalar(fill0, fill1, fill2, 0));
    return aligned.release();
}
