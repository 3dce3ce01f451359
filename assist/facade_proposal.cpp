#include "proposal_choice.h"
#include "proposals.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace tarvix {

namespace {

constexpr std::size_t mostSegments = 100; // of a family, the longest: pairs of them are tried
constexpr std::size_t mostLines = 30;     // of a family: pairs of pairs are tried
constexpr double agreesDeg = 2.5; // between a segment and the direction to its vanishing point
constexpr double sameLinePx = 4;  // lines nearer than that over the image are one
constexpr int coarseSamples = 16;
constexpr double segmentSupport = 0.7;
constexpr double coarseSupport = 0.5; // of the worst side, before the corners are refined

struct Segment {
    cv::Point2d a, b;
    double length = 0;

    [[nodiscard]] cv::Vec3d line() const {
        return cv::Vec3d(a.x, a.y, 1).cross(cv::Vec3d(b.x, b.y, 1));
    }
};

// How well segments agree on a point: the summed length of those that point at it.
bool pointsAt(const Segment& s, const cv::Vec3d& vanishing) {
    const cv::Point2d middle = (s.a + s.b) * 0.5;
    // The direction to the point, also if it is at infinity.
    const cv::Point2d to(vanishing[0] - middle.x * vanishing[2],
                         vanishing[1] - middle.y * vanishing[2]);
    const double sine = std::abs((s.b - s.a).cross(to)) / (s.length * cv::norm(to));
    return sine < std::sin(agreesDeg * CV_PI / 180);
}

// The segments of the family that agree on its best vanishing point.
std::vector<Segment> agreeing(std::vector<Segment> family) {
    std::sort(family.begin(), family.end(),
              [](const Segment& x, const Segment& y) { return x.length > y.length; });
    family.resize(std::min(family.size(), mostSegments));
    double most = 0;
    std::vector<Segment> result;
    for (std::size_t i = 0; i < family.size(); ++i) {
        for (std::size_t k = i + 1; k < family.size(); ++k) {
            const cv::Vec3d vanishing = family[i].line().cross(family[k].line());
            if (cv::norm(vanishing) < 1e-6) {
                continue; // two pieces of one line
            }
            double sum = 0;
            for (const Segment& s : family) {
                sum += pointsAt(s, vanishing) ? s.length : 0;
            }
            if (sum > most) {
                most = sum;
                result.clear();
                std::copy_if(family.begin(), family.end(), std::back_inserter(result),
                             [&](const Segment& s) { return pointsAt(s, vanishing); });
            }
        }
    }
    return result;
}

// The lines of the segments. Those that are nearly the same are one, and the lines with the longest
// segments in sum come first.
std::vector<cv::Vec3d> linesOf(const std::vector<Segment>& segments) {
    struct Weighted {
        cv::Vec3d line;
        double length = 0;
    };
    std::vector<Weighted> lines;
    for (const Segment& s : segments) {
        const auto isSame = [&s](const Weighted& other) {
            const auto distance = [&other](const cv::Point2d& p) {
                return std::abs(other.line[0] * p.x + other.line[1] * p.y + other.line[2]);
            };
            return distance(s.a) < sameLinePx && distance(s.b) < sameLinePx;
        };
        const auto same = std::find_if(lines.begin(), lines.end(), isSame);
        if (same != lines.end()) {
            same->length += s.length;
        } else {
            const cv::Vec3d line = s.line();
            lines.push_back({line / std::hypot(line[0], line[1]), s.length});
        }
    }
    std::stable_sort(lines.begin(), lines.end(),
                     [](const Weighted& x, const Weighted& y) { return x.length > y.length; });
    lines.resize(std::min(lines.size(), mostLines));
    std::vector<cv::Vec3d> result(lines.size());
    std::transform(lines.begin(), lines.end(), result.begin(),
                   [](const Weighted& weighted) { return weighted.line; });
    return result;
}

cv::Point2d crossing(const cv::Vec3d& a, const cv::Vec3d& b) {
    const cv::Vec3d p = a.cross(b);
    return {p[0] / p[2], p[1] / p[2]};
}

// Allows for what is just outside.
bool isInside(const Quad& corners, cv::Size image) {
    constexpr double margin = 10;
    return std::all_of(corners.begin(), corners.end(), [image](const cv::Point2d& p) {
        return p.x > -margin && p.y > -margin && p.x < image.width + margin &&
               p.y < image.height + margin;
    });
}

bool isCarried(const EdgeMap& edges, const Quad& corners) {
    for (std::size_t k = 0; k < 4; ++k) {
        if (edges.sideSupport(corners[k], corners[(k + 1) % 4], coarseSamples) < coarseSupport) {
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<Proposal> proposeFacade(const cv::Mat& image,
                                      const std::vector<cv::Vec4i>& segments) {
    const SmallImage reduced(image);
    ProposalChoice choice(reduced);
    std::vector<Segment> upright, level;
    for (const cv::Vec4i& s : segments) {
        Segment segment{cv::Point2d(s[0], s[1]) * reduced.scale,
                        cv::Point2d(s[2], s[3]) * reduced.scale};
        const cv::Point2d along = segment.b - segment.a;
        segment.length = cv::norm(along);
        // In textures, segments are found along which there is no edge.
        if (segment.length > 1 &&
            choice.edges().sideSupport(segment.a, segment.b, coarseSamples) >= segmentSupport) {
            (std::abs(along.y) > std::abs(along.x) ? upright : level).push_back(segment);
        }
    }
    const std::vector<cv::Vec3d> verticals = linesOf(agreeing(upright));
    const std::vector<cv::Vec3d> horizontals = linesOf(agreeing(level));
    for (std::size_t a = 0; a < verticals.size(); ++a) {
        for (std::size_t b = a + 1; b < verticals.size(); ++b) {
            for (std::size_t c = 0; c < horizontals.size(); ++c) {
                for (std::size_t d = c + 1; d < horizontals.size(); ++d) {
                    const Quad corners = {crossing(verticals[a], horizontals[c]),
                                          crossing(verticals[b], horizontals[c]),
                                          crossing(verticals[b], horizontals[d]),
                                          crossing(verticals[a], horizontals[d])};
                    if (!isInside(corners, reduced.pixels.size()) || refusalOf(corners)) {
                        continue;
                    }
                    const Quad sorted = sortedCorners(corners);
                    if (isCarried(choice.edges(), sorted)) {
                        choice.consider(sorted);
                    }
                }
            }
        }
    }
    return choice.best("facade");
}

} // namespace tarvix
