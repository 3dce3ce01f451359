#include "features/panorama.h"

namespace tarvix {

cv::Stitcher::Status stitchPanorama(const std::vector<cv::Mat>& photographs, cv::Mat& panorama) {
    return cv::Stitcher::create(cv::Stitcher::PANORAMA)->stitch(photographs, panorama);
}

} // namespace tarvix
