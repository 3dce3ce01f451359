#include "lens_field.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

namespace tarvix {

std::vector<Displacement> lensField(const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs,
                                    cv::Size imageSize, cv::Size grid) {
    const cv::Matx33d inverse = cv::Matx33d(cameraMatrix).inv();
    std::vector<Displacement> field;
    for (int row = 0; row < grid.height; ++row) {
        for (int column = 0; column < grid.width; ++column) {
            const cv::Point2d ideal((column + 0.5) * imageSize.width / grid.width - 0.5,
                                    (row + 0.5) * imageSize.height / grid.height - 0.5);
            const cv::Vec3d ray = inverse * cv::Vec3d(ideal.x, ideal.y, 1);
            std::vector<cv::Point2d> shown;
            cv::projectPoints(std::vector<cv::Point3d>{ray}, cv::Vec3d(), cv::Vec3d(), cameraMatrix,
                              distCoeffs, shown);
            field.push_back({ideal, shown.at(0) - ideal});
        }
    }
    return field;
}

} // namespace tarvix
