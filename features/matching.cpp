#include "matching.h"

#include "detectors.h"

#include <opencv2/flann.hpp>

#include <cstring>
#include <stdexcept>

namespace tarvix {

namespace {

const cv::KeyPoint& keypointAt(const std::vector<cv::KeyPoint>& keypoints, int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= keypoints.size()) {
        throw std::out_of_range("invalid vector<T> subscript");
    }
    return keypoints[static_cast<std::size_t>(index)];
}

// The bits of a 32-bit element, whatever its type.
std::uint32_t bitsAt(const cv::Mat& m, int row, int column) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, m.ptr(row, column), sizeof bits);
    return bits;
}

float floatOf(std::uint32_t bits) { // std::bit_cast needs g++ 11
    static_assert(sizeof(float) == sizeof bits);
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

FeatureFinder::FeatureFinder() : m_detector(createOrb()), m_extractor(createBrisk()) {}

Features FeatureFinder::find(const cv::Mat& image) const {
    Features features;
    m_detector->detect(image, features.keypoints, cv::noArray());
    m_extractor->compute(image, features.keypoints, features.descriptors);
    return features;
}

Neighbours twoNearest(const cv::Mat& descriptors, const cv::Mat& referenceDescriptors) {
    Neighbours found;
    const cv::flann::SearchParams search(32, 0.0F, true);
    if (descriptors.depth() == CV_8U) {
        cv::flann::Index index(referenceDescriptors, cv::flann::LshIndexParams(12, 20, 2),
                               cvflann::FLANN_DIST_HAMMING);
        index.knnSearch(descriptors, found.indices, found.dists, 2, search);
    } else {
        cv::flann::Index index(referenceDescriptors, cv::flann::KDTreeIndexParams(4),
                               cvflann::FLANN_DIST_L2);
        index.knnSearch(descriptors, found.indices, found.dists, 2, search);
    }
    return found;
}

bool isClearlyNearest(std::uint32_t nearestBits, std::uint32_t secondBits) {
    const float limit = 0.6F * floatOf(secondBits);
    return floatOf(nearestBits) <= limit;
}

PointPairs goodMatches(const Neighbours& neighbours, const std::vector<cv::KeyPoint>& keypoints,
                       const std::vector<cv::KeyPoint>& referenceKeypoints) {
    const cv::Mat& dists = neighbours.dists;
    const cv::Mat& indices = neighbours.indices;
    PointPairs pairs;
    if (dists.empty()) {
        return pairs;
    }
    CV_Assert(dists.cols >= 2 && dists.elemSize() == sizeof(std::uint32_t) &&
              indices.rows >= dists.rows && indices.type() == CV_32SC1);
    for (int j = 0; j < dists.rows; ++j) {
        if (isClearlyNearest(bitsAt(dists, j, 0), bitsAt(dists, j, 1))) {
            pairs.image.push_back(keypointAt(keypoints, j).pt);
            pairs.reference.push_back(keypointAt(referenceKeypoints, indices.at<int>(j, 0)).pt);
        }
    }
    return pairs;
}

} // namespace tarvix
