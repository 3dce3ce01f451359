#include "registration.h"

#include "matching.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
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

cv::Mat readColour(const std::string& file) {
    return cv::imread(file, cv::IMREAD_COLOR);
}

} // namespace

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
    const auto x = [&](std::size_t corner) { return roundedToInt(double{projected.at(corner).x}); };
    const auto y = [&](std::size_t corner) { return roundedToInt(double{projected.at(corner).y}); };
    const int left = std::min(x(0), x(3));
    const int top = std::min(y(0), y(1));
    const int right = std::max(x(1), x(2));
    const int bottom = std::max(y(2), y(3));
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

SetMatcher::SetMatcher(const cv::Mat& reference) : m_reference(m_finder.find(reference)) {}

SetMatch SetMatcher::match(const cv::Mat& image) const {
    const Features features = m_finder.find(image);
    const PointPairs pairs = goodMatches(twoNearest(features.descriptors, m_reference.descriptors),
                                         features.keypoints, m_reference.keypoints);
    SetMatch match{pairs.image.size(), {}};
    if (match.matches >= fewestMatches) {
        match.referenceFromImage = estimateHomography(pairs);
    }
    return match;
}

void drawReference(const cv::Mat& reference, const Canvas& layout, cv::Mat& canvas) {
    canvas.create(layout.size, reference.empty() ? CV_8UC3 : reference.type());
    canvas.setTo(cv::Scalar::all(0));
    reference.copyTo(
        canvas(cv::Rect({saturate(-std::int64_t{layout.left}), saturate(-std::int64_t{layout.top})},
                        reference.size())));
}

void drawRegistered(const cv::Mat& image, const cv::Mat& referenceFromImage, const Canvas& layout,
                    cv::Mat& canvas) {
    // Only the translation is moved into the canvas, on purpose: exact without perspective.
    cv::Mat canvasFromImage = referenceFromImage.clone();
    canvasFromImage.at<double>(0, 2) -= layout.left;
    canvasFromImage.at<double>(1, 2) -= layout.top;
    cv::Mat warped;
    // The image's own size, on purpose: what is farther out on the canvas is cut off.
    cv::warpPerspective(image, warped, canvasFromImage, image.size(), cv::INTER_LINEAR,
                        cv::BORDER_CONSTANT, cv::Scalar::all(0));
    canvas.create(layout.size, image.type());
    canvas.setTo(cv::Scalar::all(0));
    warped.copyTo(canvas(cv::Rect({0, 0}, warped.size())));
}

void registerImages(const FileList& inputs, const FileList& outputs) {
    const cv::Mat reference = readColour(inputs.at(0));
    const SetMatcher matcher(reference);

    std::vector<cv::Mat> homographies; // referenceFromImage of every image that passed
    std::vector<cv::Rect> outlines;
    for (int k = 1; k < inputs.size; ++k) {
        const cv::Mat image = readColour(inputs.at(k));
        const SetMatch match = matcher.match(image);
        if (match.matches < fewestMatches) {
            continue;
        }
        homographies.push_back(match.referenceFromImage);
        outlines.push_back(projectedOutline(homographies.back(), image.size()));
    }
    if (outputs.size - 1 != static_cast<int>(outlines.size())) {
        return;
    }

    const Canvas layout = commonCanvas(reference.size(), outlines);
    cv::Mat canvas;
    drawReference(reference, layout, canvas);
    cv::imwrite(outputs.at(0), canvas);

    for (int k = 1; k < inputs.size; ++k) {
        const cv::Mat image = readColour(inputs.at(k));
        // There is exactly one name for each stored homography, so the access throws for an input
        // without a homography.
        const std::string output = outputs.at(k);
        drawRegistered(image, homographies[static_cast<std::size_t>(k - 1)], layout, canvas);
        cv::imwrite(output, canvas);
    }
}

} // namespace tarvix
