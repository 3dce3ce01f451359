#include "stereo_calibrate.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>

#include <exception>

namespace tarvix {

namespace {

// One camera's half of a pass. Each section writes its own only.
struct Side {
    std::optional<BoardCorners> corners;
    cv::Size imageSize;
    std::exception_ptr failure;

    // Throws nothing: an exception must not leave a section.
    void search(const FileList& files, int position, cv::Size pattern) noexcept {
        try {
            const cv::Mat grey = cv::imread(files.at(position), cv::IMREAD_GRAYSCALE);
            imageSize = grey.size();
            corners = findBoard(grey, pattern);
            if (corners) {
                refineCorners(grey, *corners, stereoRefinement);
            }
        } catch (...) {
            failure = std::current_exception();
        }
    }
};

} // namespace

std::optional<StereoViews> findStereoViews(const FileList& files, cv::Size pattern,
                                           float squareSize, const ShowView& show) {
    std::vector<cv::Point3f> model;
    StereoViews views;
    for (int k = 0; k < files.size; k += 2) {
        Side left;
        Side right;
#pragma omp parallel sections default(none) shared(left, right, files, k, pattern)
        {
#pragma omp section
            left.search(files, k, pattern);
#pragma omp section
            right.search(files, k + 1, pattern);
        }
        for (const Side* side : {&left, &right}) {
            if (side->failure) {
                std::rethrow_exception(side->failure);
            }
        }
        if (!left.corners || !right.corners) {
            return {}; // one bad image spoils the set
        }
        if (show) {
            show(files.at(k), *left.corners, left.imageSize);
        }
        if (model.empty()) {
            model = boardModel(pattern, squareSize); // a board that was seen has a sane size
        }
        views.imageSize = left.imageSize;
        views.objectPoints.push_back(model);
        views.imagePoints1.push_back(*std::move(left.corners));
        views.imagePoints2.push_back(*std::move(right.corners));
    }
    return views;
}

StereoCalibration calibrateStereo(const StereoViews& views) {
    StereoCalibration pair;
    auto& [one, two] = pair.cameras;
    cv::Mat r;
    cv::Mat t;
    cv::Mat e;
    cv::Mat f;
    cv::stereoCalibrate(views.objectPoints, views.imagePoints1, views.imagePoints2,
                        one.cameraMatrix, one.distortion, two.cameraMatrix, two.distortion,
                        views.imageSize, r, t, e, f, cv::CALIB_FIX_INTRINSIC,
                        {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 100, 1e-5});
    // Flags 0: without CALIB_ZERO_DISPARITY the principal points may differ.
    cv::stereoRectify(one.cameraMatrix, one.distortion, two.cameraMatrix, two.distortion,
                      views.imageSize, r, t, one.rotation, two.rotation, one.projection,
                      two.projection, pair.reprojection, 0, -1.0, cv::Size(), nullptr, nullptr);
    return pair;
}

} // namespace tarvix
