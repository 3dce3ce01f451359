#include "panorama.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/stitching.hpp>

#include <vector>

namespace tarvix {

std::optional<cv::Mat> stitchPanorama(const FileList& files) {
    std::vector<cv::Mat> photographs;
    for (int i = 0; i < files.size; ++i) {
        photographs.push_back(cv::imread(files.at(i), cv::IMREAD_COLOR));
        if (photographs.back().empty()) {
            return {};
        }
    }
    cv::Mat panorama;
    const auto stitcher = cv::Stitcher::create(cv::Stitcher::PANORAMA);
    if (stitcher->stitch(photographs, panorama) != cv::Stitcher::OK) {
        return {};
    }
    return panorama;
}

} // namespace tarvix
