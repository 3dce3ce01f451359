#include "calibrate.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>

#include <cfloat>

namespace tarvix {

std::optional<CameraCalibration> calibrateCamera(const FileList& files, cv::Size pattern,
                                                 const ShowView& show) {
    std::vector<cv::Point3f> model;
    std::vector<std::vector<cv::Point3f>> objectPoints;
    std::vector<BoardCorners> imagePoints;
    cv::Size imageSize;
    for (int i = 0; i < files.size; ++i) {
        const std::string file = files.at(i);
        const cv::Mat grey = cv::imread(file, cv::IMREAD_GRAYSCALE);
        imageSize = grey.size();
        std::optional<BoardCorners> corners = findBoard(grey, pattern);
        if (!corners) {
            return {}; // one bad image spoils the set
        }
        if (show) {
            show(file, *corners, imageSize);
        }
        refineCorners(grey, *corners, monoRefinement);
        if (model.empty()) {
            model = boardModel(pattern, 1.0F); // a board that was seen has a sane size
        }
        imagePoints.push_back(*std::move(corners));
        objectPoints.push_back(model);
    }
    CameraCalibration camera;
    std::vector<cv::Mat> rvecs;
    std::vector<cv::Mat> tvecs;
    cv::calibrateCamera(objectPoints, imagePoints, imageSize, camera.cameraMatrix,
                        camera.distCoeffs, rvecs, tvecs, 0,
                        {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, DBL_EPSILON});
    return camera;
}

} // namespace tarvix
