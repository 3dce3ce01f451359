#include "proposal_choice.h"
#include "proposals.h"

#include <opencv2/imgproc.hpp>

#include <cmath>
#include <vector>

namespace tarvix {

namespace {

constexpr double smallestContour = 0.04; // of the image, as areas of hulls

// Planes in which a sheet may stand out: grey, the three channels, and how colourful a pixel is.
std::vector<cv::Mat> planesOf(const cv::Mat& image) {
    if (image.channels() == 1) {
        return {image};
    }
    std::vector<cv::Mat> channels;
    cv::split(image, channels);
    cv::Mat grey, high, low;
    cv::cvtColor(image, grey, cv::COLOR_BGR2GRAY);
    cv::max(channels[0], channels[1], high);
    cv::max(high, channels[2], high);
    cv::min(channels[0], channels[1], low);
    cv::min(low, channels[2], low);
    return {grey, channels[0], channels[2], high - low, low};
}

// The hull of a contour as a quadrilateral, if it is about one.
std::vector<cv::Point> quadrilateralOf(const std::vector<cv::Point>& contour) {
    std::vector<cv::Point> hull, corners;
    cv::convexHull(contour, hull);
    const double length = cv::arcLength(hull, true);
    for (const double tolerance : {0.01, 0.02, 0.03, 0.045, 0.06}) {
        cv::approxPolyDP(hull, corners, tolerance * length, true);
        if (corners.size() <= 4) {
            break;
        }
    }
    return corners;
}

void considerContours(const cv::Mat& mask, ProposalChoice& choice) {
    std::vector<std::vector<cv::Point>> contours;
    cv::findContours(mask, contours, cv::RETR_LIST, cv::CHAIN_APPROX_SIMPLE);
    for (const auto& contour : contours) {
        if (contour.size() < 4 || cv::boundingRect(contour).area() <
                                      smallestContour * static_cast<double>(mask.total())) {
            continue;
        }
        const std::vector<cv::Point> corners = quadrilateralOf(contour);
        if (corners.size() == 4) {
            choice.consider({cv::Point2d(corners[0]), cv::Point2d(corners[1]),
                             cv::Point2d(corners[2]), cv::Point2d(corners[3])});
        }
    }
}

} // namespace

std::optional<Proposal> proposeSheet(const cv::Mat& image) {
    const SmallImage reduced(image);
    ProposalChoice choice(reduced);
    const cv::Mat dot = cv::getStructuringElement(cv::MORPH_RECT, {3, 3});
    cv::Mat smooth, mask;
    for (const cv::Mat& plane : planesOf(reduced.pixels)) {
        cv::medianBlur(plane, smooth, 5);
        for (int level = 30; level <= 240; level += 15) {
            cv::threshold(smooth, mask, level, 255, cv::THRESH_BINARY);
            // Opened, so that what only touches the sheet does not belong to it.
            cv::morphologyEx(mask, mask, cv::MORPH_OPEN, dot, {-1, -1}, 2);
            considerContours(mask, choice);
        }
        for (const double high : {30.0, 60.0, 120.0}) {
            cv::Canny(smooth, mask, high / 2, high);
            cv::dilate(mask, mask, dot);
            considerContours(mask, choice);
        }
    }
    return choice.best("sheet");
}

} // namespace tarvix
