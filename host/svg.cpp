#include "host/svg.h"

#include "host/page.h"

#include <algorithm>
#include <cmath>
#include <locale>

namespace host {

namespace {

// Three digits are below what a screen shows; what is not finite is left at 0.
double rounded(double value) {
    return std::isfinite(value) ? std::round(value * 1000) / 1000 : 0;
}

} // namespace

Svg::Svg(cv::Rect2d viewBox, const std::string& label) {
    m_content.imbue(std::locale::classic());
    m_content << "<svg viewBox=\"" << rounded(viewBox.x) << ' ' << rounded(viewBox.y) << ' '
              << rounded(viewBox.width) << ' ' << rounded(viewBox.height)
              << R"(" role="img" aria-label=")" << escapeHtml(label) << "\">";
}

void Svg::line(cv::Point2d from, cv::Point2d to, const std::string& colour, double width) {
    m_content << "<path d=\"M" << rounded(from.x) << ' ' << rounded(from.y) << 'L' << rounded(to.x)
              << ' ' << rounded(to.y) << "\" stroke=\"" << colour << "\" stroke-width=\""
              << rounded(width) << "\"/>";
}

void Svg::arrow(cv::Point2d from, cv::Point2d to, const std::string& colour, double width) {
    line(from, to, colour, width);
    circle(to, width * 1.3, colour); // its head: legible at any length
}

void Svg::circle(cv::Point2d centre, double radius, const std::string& colour) {
    m_content << "<circle cx=\"" << rounded(centre.x) << "\" cy=\"" << rounded(centre.y)
              << "\" r=\"" << rounded(radius) << "\" fill=\"" << colour << "\"/>";
}

void Svg::rectangle(cv::Rect2d r, const std::string& colour) {
    m_content << "<rect x=\"" << rounded(r.x) << "\" y=\"" << rounded(r.y) << "\" width=\""
              << rounded(r.width) << "\" height=\"" << rounded(r.height) << "\" fill=\"" << colour
              << "\"/>";
}

void Svg::text(cv::Point2d at, const std::string& words, double size, const std::string& anchor,
               const std::string& colour) {
    m_content << "<text x=\"" << rounded(at.x) << "\" y=\"" << rounded(at.y) << "\" font-size=\""
              << rounded(size) << "\" text-anchor=\"" << anchor << "\" fill=\"" << colour << "\">"
              << escapeHtml(words) << "</text>";
}

void Svg::image(cv::Rect2d r, const std::string& url) {
    m_content << "<image x=\"" << rounded(r.x) << "\" y=\"" << rounded(r.y) << "\" width=\""
              << rounded(r.width) << "\" height=\"" << rounded(r.height) << "\" href=\"" << url
              << "\"/>";
}

std::string Svg::str() const {
    return m_content.str() + "</svg>";
}

std::string heat(double share) {
    const double s = std::clamp(std::isfinite(share) ? share : 1.0, 0.0, 1.0);
    const auto mix = [s](double light, double dark) {
        return std::to_string(static_cast<int>(std::lround(light + s * (dark - light))));
    };
    return "rgb(" + mix(238, 12) + "," + mix(244, 64) + "," + mix(250, 120) + ")";
}

} // namespace host
