#include "tests/assist/rendered.h"

#include "tests/assist/quads.h"
#include "tests/support/images.h"

#include <opencv2/imgproc.hpp>

#include <array>
#include <cmath>
#include <vector>

namespace test {

namespace {

constexpr int width = 480, height = 360;
constexpr int texels = 100; // per unit of the rectangle

cv::Mat background(cv::RNG& random) {
    constexpr std::array<const char*, 8> photographs = {
        "fruits.jpg", "baboon.jpg", "aero1.jpg",     "messi5.jpg",
        "aloeL.jpg",  "stuff.jpg",  "butterfly.jpg", "squirrel_cls.jpg"};
    const cv::Mat image = photo(photographs.at(static_cast<std::size_t>(random.uniform(0, 8))));
    const double scale =
        std::max(static_cast<double>(width) / image.cols, static_cast<double>(height) / image.rows);
    cv::Mat scaled;
    cv::resize(image, scaled, {}, scale, scale, cv::INTER_AREA);
    return scaled(cv::Rect(0, 0, width, height)).clone();
}

// White to greyish paper with lines of words, and sometimes a picture.
cv::Mat paper(cv::Size size, cv::RNG& random) {
    const double white = random.uniform(205, 250);
    cv::Mat sheet(size, CV_8UC3, cv::Scalar(white - random.uniform(0, 15), white, white));
    const int margin = size.width / 10;
    for (int y = margin; y < size.height - margin; y += 14) {
        for (int x = margin; x < size.width - margin - 30;) {
            const int word = random.uniform(8, 34);
            cv::rectangle(sheet, {x, y}, {x + word, y + 5}, cv::Scalar::all(50), cv::FILLED);
            x += word + 7;
        }
    }
    if (random.uniform(0, 2) == 1) {
        const cv::Rect picture(margin, margin, size.width / 2, size.height / 3);
        sheet(picture) = cv::Scalar(random.uniform(0, 255), random.uniform(0, 255), 120);
    }
    return sheet;
}

// A plastered or brick wall, rows of windows with frames, a cornice around it.
cv::Mat wall(cv::Size size, cv::RNG& random) {
    const cv::Scalar plaster(random.uniform(70, 190), random.uniform(90, 210),
                             random.uniform(110, 230));
    cv::Mat front(size, CV_8UC3, plaster);
    const int rows = random.uniform(2, 5), columns = random.uniform(3, 6);
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            const int w = size.width / columns, h = size.height / rows;
            const cv::Rect window(c * w + w / 4, r * h + h / 5, w / 2, h * 3 / 5);
            front(window) = cv::Scalar(70, 60, 50);
            cv::rectangle(front, window, cv::Scalar(225, 230, 230), 3);
        }
    }
    cv::rectangle(front, cv::Rect(cv::Point(), size), plaster * 0.6, 6);
    return front;
}

double areaOf(const tarvix::Quad& q) {
    return 0.5 * std::abs((q[2] - q[0]).cross(q[3] - q[1]));
}

// A view in which the rectangle is inside the image and neither small nor large.
struct Range {
    double smallest = 0, largest = 0; // share of the image
    double rollDeg = 0;
};

tarvix::Quad randomCorners(cv::Size2d rectangle, const Range& range, cv::RNG& random) {
    for (;;) {
        const View view{.image = {width, height},
                        .focalMm = random.uniform(24.0, 60.0),
                        .aboutX = random.uniform(-40.0, 40.0),
                        .aboutY = random.uniform(-40.0, 40.0),
                        .aboutZ = random.uniform(-range.rollDeg, range.rollDeg),
                        .rectangle = rectangle,
                        .centre = {random.uniform(-1.0, 1.0), random.uniform(-0.8, 0.8),
                                   random.uniform(4.0, 12.0)}};
        const tarvix::Quad corners = seen(view);
        bool inside = true;
        for (const cv::Point2d& p : corners) {
            inside = inside && p.x > 6 && p.y > 6 && p.x < width - 7 && p.y < height - 7;
        }
        const double share = areaOf(corners) / (width * height);
        if (inside && share > range.smallest && share < range.largest) {
            return corners;
        }
    }
}

Rendered composed(const cv::Mat& texture, const Range& range, cv::RNG& random) {
    Rendered result;
    result.corners = randomCorners(
        {static_cast<double>(texture.cols) / texels, static_cast<double>(texture.rows) / texels},
        range, random);
    const float w = static_cast<float>(texture.cols), h = static_cast<float>(texture.rows);
    const std::vector<cv::Point2f> from = {{0, 0}, {w, 0}, {w, h}, {0, h}};
    const std::vector<cv::Point2f> to(result.corners.begin(), result.corners.end());
    const cv::Mat homography = cv::getPerspectiveTransform(from, to);
    cv::Mat warped, mask;
    cv::Mat base;
    background(random).convertTo(base, CV_32FC3, random.uniform(0.5, 1.0));
    cv::warpPerspective(texture, warped, homography, base.size(), cv::INTER_AREA);
    cv::warpPerspective(cv::Mat(texture.size(), CV_8UC1, cv::Scalar(255)), mask, homography,
                        base.size());
    const double slope = random.uniform(-0.25, 0.25);
    for (int r = 0; r < height; ++r) {
        for (int c = 0; c < width; ++c) {
            const auto share = static_cast<float>(mask.at<unsigned char>(r, c) / 255.0);
            const auto light = static_cast<float>(1 - std::abs(slope) + slope * c / width);
            base.at<cv::Vec3f>(r, c) = (base.at<cv::Vec3f>(r, c) * (1 - share) +
                                        cv::Vec3f(warped.at<cv::Vec3b>(r, c)) * share) *
                                       light;
        }
    }
    cv::GaussianBlur(base, base, {}, random.uniform(0.5, 1.1));
    cv::Mat grain(base.size(), CV_32FC3);
    random.fill(grain, cv::RNG::NORMAL, 0, random.uniform(1.0, 4.0));
    base += grain;
    base.convertTo(result.image, CV_8UC3);
    return result;
}

} // namespace

Rendered renderedSheet(std::uint64_t seed) {
    cv::RNG random(seed * 7919 + 1);
    const bool upright = random.uniform(0, 2) == 1;
    return composed(paper(upright ? cv::Size(210, 297) : cv::Size(297, 210), random),
                    {0.12, 0.6, 20}, random);
}

Rendered renderedFacade(std::uint64_t seed) {
    cv::RNG random(seed * 104729 + 1);
    return composed(wall({random.uniform(260, 420), random.uniform(200, 300)}, random),
                    {0.2, 0.7, 8}, random);
}

} // namespace test
