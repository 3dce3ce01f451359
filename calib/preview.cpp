#include "calib/preview.h"

#include "bridge/dib_bridge.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace tarvix {

cv::Mat previewPicture(const cv::Mat& colour, cv::Size pattern, const Corners& corners,
                       cv::Size pictureSize, cv::Size client) {
    const double s = std::min(static_cast<double>(client.width) / pictureSize.width,
                              static_cast<double>(client.height) / pictureSize.height);
    cv::Mat picture = colour.clone();
    cv::drawChessboardCorners(picture, pattern, corners, true);
    if (s <= 1.0) {
        cv::Mat small;
        cv::resize(picture, small, {}, s, s, cv::INTER_AREA);
        return small;
    }
    return picture;
}

void drawPreview(HWND window, const std::string& path, cv::Size pattern, const Corners& corners,
                 cv::Size pictureSize) {
    RECT client{};
    if (GetClientRect(window, &client) == FALSE) {
        return; // closed while the calibration runs
    }
    const DibPtr dib(
        MatToDib(previewPicture(cv::imread(path, cv::IMREAD_COLOR), pattern, corners, pictureSize,
                                {client.right - client.left, client.bottom - client.top})));
    if (dib != nullptr) {
        const DibView view = viewOf(*dib);
        dib->BitBlt(window, 0, 0, view.width, view.rows, 0, 0, SRCCOPY);
    }
}

ShowView previewInto(HWND window, cv::Size pattern) {
    if (window == nullptr) {
        return {};
    }
    return [=](const std::string& path, const Corners& corners, cv::Size pictureSize) {
        drawPreview(window, path, pattern, corners, pictureSize);
    };
}

} // namespace tarvix
