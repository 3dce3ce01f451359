#include "features/registration.h"

#include "features/detectors.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/flann.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>

namespace tarvix {

namespace {

int saturate(std::int64_t value) {
    return static_cast<int>(std::clamp<std::int64_t>(value, INT_MIN, INT_MAX));
}

// Half away from zero.
int roundedToInt(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    const double moved = value >= 0 ? value + 0.5 : value - 0.5;
    return static_cast<int>(std::clamp(moved, double{INT_MIN}, double{INT_MAX}));
}

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

cv::Mat readColour(const CString& path) {
    return cv::imread(std::string(path.GetString()), cv::IMREAD_COLOR);
}

void write(const CString& path, const cv::Mat& picture) {
    cv::imwrite(std::string(path.GetString()), picture);
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
    if (descriptors.empty() || referenceDescriptors.rows < 2) {
        return found; // an index on no descriptors would read past its own tables
    }
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
    const float limit = 0.6F * std::bit_cast<float>(secondBits);
    return std::bit_cast<float>(nearestBits) <= limit;
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

cv::Mat estimateHomography(const PointPairs& pairs) {
    return cv::findHomography(pairs.image, pairs.reference, cv::RANSAC, 1.0, cv::noArray(), 2000,
                              0.995);
}

cv::Rect projectedOutline(const cv::Mat& referenceFromImage, cv::Size size) {
    const auto cols = static_cast<float>(size.width);
    const auto rows = static_cast<float>(size.height);
    const std::vector<cv::Point2f> corners = {{0, 0}, {cols, 0}, {cols, rows}, {0, rows}};
    std::vector<cv::Point2f> projected;
    cv::perspectiveTransform(corners, projected, referenceFromImage);
    std::array<int, 4> x{};
    std::array<int, 4> y{};
    for (std::size_t i = 0; i < 4; ++i) {
        x[i] = roundedToInt(double{projected[i].x});
        y[i] = roundedToInt(double{projected[i].y});
    }
    const int left = std::min(x[0], x[3]);
    const int top = std::min(y[0], y[1]);
    const int right = std::max(x[1], x[2]);
    const int bottom = std::max(y[2], y[3]);
    return {left, top, saturate(std::int64_t{right} - left), saturate(std::int64_t{bottom} - top)};
}

Canvas commonCanvas(cv::Size reference, const std::vector<cv::Rect>& outlines) {
    std::int64_t left = 0;
    std::int64_t top = 0;
    std::int64_t right = reference.width;
    std::int64_t bottom = reference.height;
    for (const cv::Rect& outline : outlines) {
        left = std::min<std::int64_t>(left, outline.x);
        top = std::min<std::int64_t>(top, outline.y);
        right = std::max(right, std::int64_t{outline.x} + outline.width);
        bottom = std::max(bottom, std::int64_t{outline.y} + outline.height);
    }
    return {saturate(left), saturate(top), {saturate(right - left), saturate(bottom - top)}};
}

void registerImages(const CStringArray& inputs, const CStringArray& outputs) {
    const cv::Mat reference = readColour(inputs.GetAt(0));
    const FeatureFinder finder;
    const Features referenceFeatures = finder.find(reference);

    std::vector<cv::Mat> homographies; // referenceFromImage of every picture that passed
    std::vector<cv::Rect> outlines;
    for (INT_PTR k = 1; k < inputs.GetSize(); ++k) {
        const cv::Mat image = readColour(inputs.GetAt(k));
        const Features features = finder.find(image);
        const PointPairs pairs =
            goodMatches(twoNearest(features.descriptors, referenceFeatures.descriptors),
                        features.keypoints, referenceFeatures.keypoints);
        if (pairs.image.size() < fewestMatches) {
            continue;
        }
        homographies.push_back(estimateHomography(pairs));
        outlines.push_back(projectedOutline(homographies.back(), image.size()));
    }
    if (outputs.GetSize() - 1 != static_cast<INT_PTR>(outlines.size())) {
        return;
    }

    const Canvas layout = commonCanvas(reference.size(), outlines);
    cv::Mat canvas(layout.size, CV_8UC3);
    canvas.setTo(cv::Scalar::all(0));
    reference.copyTo(
        canvas(cv::Rect({saturate(-std::int64_t{layout.left}), saturate(-std::int64_t{layout.top})},
                        reference.size())));
    write(outputs.GetAt(0), canvas);

    for (INT_PTR k = 1; k < inputs.GetSize(); ++k) {
        const cv::Mat image = readColour(inputs.GetAt(k));
        if (static_cast<std::size_t>(k) > homographies.size()) {
            AfxThrowInvalidArgException(); // as the name that follows would
        }
        // Only the translation is moved into the canvas, on purpose: exact without perspective.
        cv::Mat canvasFromImage = homographies[static_cast<std::size_t>(k - 1)];
        canvasFromImage.at<double>(0, 2) -= layout.left;
        canvasFromImage.at<double>(1, 2) -= layout.top;
        cv::Mat warped;
        // The picture's own size, on purpose: what lies further out on the canvas is cut off.
        cv::warpPerspective(image, warped, canvasFromImage, image.size(), cv::INTER_LINEAR,
                            cv::BORDER_CONSTANT, cv::Scalar::all(0));
        canvas.setTo(cv::Scalar::all(0));
        warped.copyTo(canvas(cv::Rect({0, 0}, warped.size())));
        write(outputs.GetAt(k), canvas);
    }
}

} // namespace tarvix
