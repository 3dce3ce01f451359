// The drawings of a report that show what a calibration does to photographs.
#include "host/calibration_text.h"
#include "host/page.h"
#include "host/report_drawings.h"
#include "host/svg.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

constexpr double width = 440;   // of a drawing
constexpr double textSize = 13; // in a drawing

// The largest distance of the corners between a row's ends from the line through these.
double bendOf(const std::vector<cv::Point2f>& corners, std::size_t first, std::size_t last) {
    const cv::Point2d from = corners.at(first);
    const cv::Point2d along = cv::Point2d(corners.at(last)) - from;
    double bend = 0;
    for (std::size_t i = first; i <= last; ++i) {
        const cv::Point2d to = cv::Point2d(corners[i]) - from;
        bend = std::max(bend,
                        std::abs(along.cross(to)) / std::max(std::hypot(along.x, along.y), 1e-9));
    }
    return bend;
}

} // namespace

std::string drawChords(const cv::Mat& photo, const std::vector<cv::Point2f>& corners, int columns,
                       const std::string& label) {
    const double scale = width / photo.cols;
    const double height = photo.rows * scale;
    Svg svg({0, 0, width, height + 22}, label);
    svg.image({0, 0, width, height}, imageUrl(photo, 720));
    const auto at = [scale](cv::Point2d pixel) {
        return cv::Point2d((pixel.x + 0.5) * scale, (pixel.y + 0.5) * scale);
    };
    double bend = 0;
    const auto row = static_cast<std::size_t>(columns);
    for (std::size_t first = 0; first + row <= corners.size(); first += row) {
        const std::size_t last = first + row - 1;
        svg.line(at(corners[first]), at(corners[last]), "#e0263c", 1);
        bend = std::max(bend, bendOf(corners, first, last));
        for (std::size_t i = first; i <= last; ++i) {
            svg.circle(at(corners[i]), 2, "#ffd23f");
        }
    }
    svg.text({0, height + 16},
             label + ": corners at most " + fixedNumber(bend, 2) + " pixels off a straight line",
             textSize, "start");
    return svg.str();
}

std::string drawRectifiedPair(const cv::Mat& left, const cv::Mat& right) {
    constexpr double gap = 6;
    constexpr double wide = 2 * width + gap;
    const double height = left.rows * width / left.cols;
    Svg svg({0, 0, wide, height}, "A rectified pair with rows");
    svg.image({0, 0, width, height}, imageUrl(left, 720));
    svg.image({width + gap, 0, width, height}, imageUrl(right, 720));
    constexpr int rows = 12;
    for (int i = 1; i < rows; ++i) {
        const double y = height * i / rows;
        svg.line({0, y}, {wide, y}, i % 2 == 0 ? "#2fd05f" : "#ff9d2e", 1);
    }
    return svg.str();
}

std::string drawHistogram(const Json& histogram, double edge) {
    constexpr double height = 200;
    const auto counts = histogram.at("counts").get<std::vector<double>>();
    const double from = histogram.at("from").get<double>();
    const double step = histogram.at("width").get<double>();
    const double most = std::max(1.0, *std::max_element(counts.begin(), counts.end()));
    const double bar = width / static_cast<double>(counts.size());
    Svg svg({0, 0, width, height + 40}, "Distances of neighbouring corners");
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double tall = counts[i] / most * (height - 10);
        svg.rectangle({static_cast<double>(i) * bar, height - tall, bar - 1, tall}, "#1f6fb2");
    }
    const double to = from + step * static_cast<double>(counts.size());
    svg.line({0, height}, {width, height}, "currentColor", 1);
    svg.text({0, height + 16}, fixedNumber(from, 2), textSize, "start");
    svg.text({width, height + 16}, fixedNumber(to, 2), textSize, "end");
    if (edge > from && edge < to) {
        const double x = (edge - from) / (to - from) * width;
        svg.line({x, 0}, {x, height}, "#d9822b", 2);
        svg.text({x, height + 32}, "the square: " + fixedNumber(edge, 2), textSize, "middle");
    }
    return svg.str();
}

} // namespace host
