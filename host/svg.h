// Drawings for pages, as SVG text.
#pragma once

#include <opencv2/core/types.hpp>

#include <sstream>
#include <string>
#include <vector>

namespace host {

// A drawing whose coordinates are those of its view box; a page gives it its size.
class Svg {
public:
    // `label` says what is drawn, for those who do not see it.
    Svg(cv::Rect2d viewBox, const std::string& label);

    void line(cv::Point2d from, cv::Point2d to, const std::string& colour, double width);
    void arrow(cv::Point2d from, cv::Point2d to, const std::string& colour, double width);
    void circle(cv::Point2d centre, double radius, const std::string& colour);
    void rectangle(cv::Rect2d r, const std::string& colour);

    // `anchor`: start, middle or end.
    void text(cv::Point2d at, const std::string& words, double size, const std::string& anchor,
              const std::string& colour = "currentColor");

    // An image, from a data URL.
    void image(cv::Rect2d r, const std::string& url);

    [[nodiscard]] std::string str() const;

private:
    std::ostringstream m_content;
};

// A colour from light to dark for a share from 0 to 1; what is beyond is at the end.
std::string heat(double share);

} // namespace host
