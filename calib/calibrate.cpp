#include "calib/calibrate.h"

#include "bridge/guard.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>

#include <cfloat>

namespace tarvix {

CameraCalibration calibrateCamera(const FileList& files, cv::Size pattern, const ShowView& show) {
    std::vector<cv::Point3f> model;
    std::vector<std::vector<cv::Point3f>> objectPoints;
    std::vector<Corners> imagePoints;
    cv::Size pictureSize;
    for (int i = 0; i < files.count; ++i) {
        const std::string path = files.at(i);
        const cv::Mat grey = cv::imread(path, cv::IMREAD_GRAYSCALE);
        pictureSize = grey.size();
        Corners corners;
        if (!findBoard(grey, pattern, corners)) {
            failSilently(); // one bad picture spoils the set
        }
        if (show) {
            show(path, corners, pictureSize);
        }
        refineCorners(grey, corners, monoRefinement);
        if (model.empty()) {
            model = boardModel(pattern, 1.0F); // a board that was seen has a sane size
        }
        imagePoints.push_back(std::move(corners));
        objectPoints.push_back(model);
    }
    CameraCalibration camera;
    std::vector<cv::Mat> rvecs;
    std::vector<cv::Mat> tvecs;
    cv::calibrateCamera(objectPoints, imagePoints, pictureSize, camera.cameraMatrix,
                        camera.distCoeffs, rvecs, tvecs, 0,
                        {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, DBL_EPSILON});
    return camera;
}

} // namespace tarvix
