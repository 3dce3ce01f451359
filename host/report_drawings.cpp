#include "host/report_drawings.h"

#include "host/calibration_text.h"
#include "host/page.h"
#include "host/svg.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

constexpr double width = 440;   // of a drawing
constexpr double textSize = 13; // in a drawing
const char* const ink = "#1d2733";
const char* const pen = "currentColor"; // legible on light and dark pages
const char* const blue = "#1f6fb2";
const char* const orange = "#d9822b";
const char* const paleGrey = "#dfe3e8";

cv::Point2d pointAt(const Json& point) {
    return {point.at(0).get<double>(), point.at(1).get<double>()};
}

cv::Size2d sizeAt(const Json& size) {
    return {size.at(0).get<double>(), size.at(1).get<double>()};
}

double numberAt(const Json& value) {
    return value.is_null() ? 0 : value.get<double>(); // JSON has no infinity
}

// A drawing with the shape of an image, and below it room for a line of text.
struct ImageFrame {
    cv::Size2d size;
    double scale;
    explicit ImageFrame(const Json& imageSize)
        : size(sizeAt(imageSize)), scale(width / size.width) {}
    [[nodiscard]] cv::Rect2d viewBox() const { return {0, 0, width, size.height * scale + 22}; }
    [[nodiscard]] cv::Point2d at(cv::Point2d pixel) const {
        return {(pixel.x + 0.5) * scale, (pixel.y + 0.5) * scale};
    }
    [[nodiscard]] cv::Rect2d area() const { return {0, 0, width, size.height * scale}; }
    [[nodiscard]] cv::Point2d caption() const { return {0, size.height * scale + 16}; }
};

} // namespace

std::string drawBars(const std::vector<Bar>& bars, double usual, const std::string& label) {
    constexpr double rowHeight = 20;
    constexpr double left = 130;
    constexpr double right = 60;
    double most = usual;
    for (const Bar& bar : bars) {
        most = std::max(most, bar.value);
    }
    const double perUnit = (width - left - right) / std::max(most, 1e-9);
    Svg svg({0, 0, width, rowHeight * static_cast<double>(bars.size()) + 22}, label);
    double y = 0;
    for (const Bar& bar : bars) {
        constexpr std::size_t longest = 19;
        const std::string name = bar.name.size() > longest
                                     ? "..." + bar.name.substr(bar.name.size() - longest + 3)
                                     : bar.name;
        svg.text({left - 6, y + 14}, name, textSize, "end");
        svg.rectangle({left, y + 3, bar.value * perUnit, rowHeight - 6},
                      bar.value > usual ? orange : blue);
        svg.text({left + bar.value * perUnit + 5, y + 14}, fixedNumber(bar.value, 2), textSize,
                 "start");
        y += rowHeight;
    }
    svg.line({left + usual * perUnit, 0}, {left + usual * perUnit, y}, pen, 1);
    svg.text({left + usual * perUnit, y + 15}, "usual: below " + fixedNumber(usual, 1), textSize,
             "middle");
    return svg.str();
}

std::string drawCoverage(const Json& camera) {
    const ImageFrame frame(camera.at("imageSize"));
    Svg svg(frame.viewBox(), "Corners in the cells of the image");
    const Json& cells = camera.at("coverage").at("cells");
    double most = 1;
    for (const Json& row : cells) {
        for (const Json& count : row) {
            most = std::max(most, numberAt(count));
        }
    }
    const double cellWidth = width / 10;
    const double cellHeight = frame.area().height / 10;
    for (std::size_t r = 0; r < cells.size(); ++r) {
        for (std::size_t c = 0; c < cells[r].size(); ++c) {
            const double count = numberAt(cells[r][c]);
            const cv::Rect2d cell(static_cast<double>(c) * cellWidth,
                                  static_cast<double>(r) * cellHeight, cellWidth - 1,
                                  cellHeight - 1);
            svg.rectangle(cell, count > 0 ? heat(0.12 + 0.6 * count / most) : "#fbe3cd");
        }
    }
    for (const Json& image : camera.at("images")) {
        for (const Json& corner : image.at("corners")) {
            svg.circle(frame.at(pointAt(corner)), 1.6, ink);
        }
    }
    svg.text(frame.caption(), "dots: corners; orange cells hold none", textSize, "start");
    return svg.str();
}

std::string drawResidualsOverRadius(const Json& camera) {
    constexpr double height = 240;
    constexpr double left = 40;
    const cv::Size2d size = sizeAt(camera.at("imageSize"));
    const double farthest = std::hypot(size.width, size.height) / 2;
    double most = 0.1;
    for (const Json& image : camera.at("images")) {
        most = std::max(most, numberAt(image.at("largest")));
    }
    Svg svg({0, 0, width, height + 40}, "Residuals over the distance from the image's centre");
    const auto place = [&](double radius, double residual) {
        return cv::Point2d(left + radius / farthest * (width - left - 10),
                           height - residual / most * (height - 15));
    };
    for (const double third : {1.0 / 3, 2.0 / 3, 1.0}) {
        svg.line(place(third * farthest, 0), place(third * farthest, most), paleGrey, 1);
    }
    for (const Json& image : camera.at("images")) {
        for (std::size_t i = 0; i < image.at("corners").size(); ++i) {
            const cv::Point2d corner = pointAt(image.at("corners")[i]);
            const cv::Point2d residual = pointAt(image.at("residuals")[i]);
            const double radius =
                std::hypot(corner.x + 0.5 - size.width / 2, corner.y + 0.5 - size.height / 2);
            svg.circle(place(radius, std::hypot(residual.x, residual.y)), 1.8, blue);
        }
    }
    svg.line(place(0, 0), place(farthest, 0), pen, 1);
    svg.line(place(0, 0), place(0, most), pen, 1);
    svg.text({left - 4, 18}, fixedNumber(most, 1), textSize, "end");
    svg.text({left - 4, height}, "0", textSize, "end");
    svg.text({left, height + 16}, "centre", textSize, "start");
    svg.text({width - 10, height + 16}, "corner of the image", textSize, "end");
    svg.text({left, height + 34}, "pixels; lines at a third, two thirds and the end of the radius",
             textSize, "start");
    return svg.str();
}

std::string drawDisplacements(const Json& camera) {
    const ImageFrame frame(camera.at("imageSize"));
    Svg svg(frame.viewBox(), "Where the lens moves what");
    svg.rectangle(frame.area(), "#f3f6f9");
    double longest = 1e-9;
    for (const Json& d : camera.at("displacements")) {
        longest = std::max(longest, std::hypot(numberAt(d[2]), numberAt(d[3])));
    }
    const double enlarged = std::max(30 / (longest * frame.scale), 0.05);
    for (const Json& d : camera.at("displacements")) {
        const cv::Point2d ideal(numberAt(d[0]), numberAt(d[1]));
        const cv::Point2d shift(numberAt(d[2]), numberAt(d[3]));
        svg.arrow(frame.at(ideal), frame.at(ideal + shift * enlarged), blue, 1.2);
    }
    svg.text(frame.caption(),
             "longest: " + fixedNumber(longest, 1) + " pixels; drawn " +
                 fixedNumber(enlarged, enlarged < 10 ? 1 : 0) + " times as long",
             textSize, "start");
    return svg.str();
}

std::string drawDeviation(const Json& camera) {
    const ImageFrame frame(camera.at("imageSize"));
    Svg svg(frame.viewBox(), "How well it is known where a point appears");
    const Json& rows = camera.at("deviation");
    constexpr double darkest = 1; // pixel
    double most = 0;
    double least = 1e9;
    for (std::size_t r = 0; r < rows.size(); ++r) {
        for (std::size_t c = 0; c < rows[r].size(); ++c) {
            const double value = numberAt(rows[r][c]);
            most = std::max(most, value);
            least = std::min(least, value);
            const double cellWidth = width / static_cast<double>(rows[r].size());
            const double cellHeight = frame.area().height / static_cast<double>(rows.size());
            svg.rectangle({static_cast<double>(c) * cellWidth, static_cast<double>(r) * cellHeight,
                           cellWidth + 0.5, cellHeight + 0.5},
                          heat(value / darkest));
        }
    }
    svg.text(frame.caption(),
             fixedNumber(least, 2) + " to " + fixedNumber(most, 2) +
                 " pixels; darkest: 1 pixel or more",
             textSize, "start");
    return svg.str();
}

std::string drawView(const Json& image, const Json& imageSize, const cv::Mat& photo) {
    const ImageFrame frame(imageSize);
    Svg svg(frame.area(), "Corners and residuals");
    if (photo.empty()) {
        svg.rectangle(frame.area(), "#f3f6f9");
    } else {
        svg.image(frame.area(), imageUrl(photo, static_cast<int>(width)));
    }
    constexpr double enlarged = 40;
    for (std::size_t i = 0; i < image.at("corners").size(); ++i) {
        const cv::Point2d corner = pointAt(image.at("corners")[i]);
        const cv::Point2d residual = pointAt(image.at("residuals")[i]);
        svg.circle(frame.at(corner), 2, "#ffd23f");
        svg.arrow(frame.at(corner), frame.at(corner + residual * enlarged), "#e0263c", 1.4);
    }
    return svg.str();
}

} // namespace host
