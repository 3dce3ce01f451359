#include "proposal_choice.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace tarvix {

namespace {

constexpr double smallSide = 480;     // pixels of the longer side
constexpr double smallestArea = 0.05; // of the image
constexpr double largestArea = 0.92;  // beyond, it is the frame of the photograph itself
constexpr double leastSupport = 0.7;  // of every side
constexpr double meanSupport = 0.82;
constexpr double flattestCorner = 0.82; // cosine of a corner's angle: 35 to 145 degrees
constexpr int samples = 48;

double areaOf(const Quad& q) {
    return 0.5 * std::abs((q[2] - q[0]).cross(q[3] - q[1]));
}

} // namespace

SmallImage::SmallImage(const cv::Mat& image) {
    scale = std::min(1.0, smallSide / std::max({image.cols, image.rows, 1}));
    const auto scaled = [this](int side) {
        return std::max(1, static_cast<int>(std::lround(side * scale)));
    };
    cv::resize(image, pixels, {scaled(image.cols), scaled(image.rows)}, 0, 0, cv::INTER_AREA);
}

ProposalChoice::ProposalChoice(const SmallImage& image)
    : m_edges(image.pixels), m_scale(image.scale) {}

bool ProposalChoice::isPlausible(const Quad& corners) const {
    const double share = areaOf(corners) / m_edges.size().area();
    if (refusalOf(corners) || share < smallestArea || share > largestArea) {
        return false;
    }
    const double margin = 0.02 * std::max(m_edges.size().width, m_edges.size().height);
    for (std::size_t k = 0; k < 4; ++k) {
        const cv::Point2d& p = corners[k];
        if (p.x < -margin || p.y < -margin || p.x > m_edges.size().width + margin ||
            p.y > m_edges.size().height + margin) {
            return false;
        }
        const cv::Point2d a = corners[(k + 1) % 4] - p, b = corners[(k + 3) % 4] - p;
        if (std::abs(a.dot(b)) > flattestCorner * cv::norm(a) * cv::norm(b)) {
            return false;
        }
    }
    return true;
}

void ProposalChoice::consider(const Quad& corners) {
    if (refusalOf(corners)) {
        return;
    }
    Quad quad = sortedCorners(corners);
    if (!isPlausible(quad)) {
        return;
    }
    for (const double reach : {5.0, 2.5}) {
        quad = m_edges.refined(quad, reach);
        if (!isPlausible(quad)) {
            return;
        }
    }
    const SideSupport support = m_edges.support(quad, samples);
    if (support.least() < leastSupport || support.mean() < meanSupport) {
        return;
    }
    const double score = 0.5 * (support.least() + support.mean());
    // Of what is carried about as well, the larger: a sheet, not a picture on it.
    const double rank = score * score * std::pow(areaOf(quad), 0.25);
    if (!m_best || rank > m_best->rank) {
        m_best = Proposal{.corners = sortedCorners(quad), .score = score, .rank = rank};
    }
}

std::optional<Proposal> ProposalChoice::best(const char* kind) const {
    std::optional<Proposal> result = m_best;
    if (result) {
        result->kind = kind;
        for (cv::Point2d& p : result->corners) {
            p = (p + cv::Point2d(0.5, 0.5)) / m_scale - cv::Point2d(0.5, 0.5);
        }
    }
    return result;
}

std::vector<Proposal> proposals(const cv::Mat& image, const std::vector<cv::Vec4i>& segments) {
    std::vector<Proposal> found;
    for (const std::optional<Proposal>& one :
         {proposeSheet(image), proposeFacade(image, segments)}) {
        if (one) {
            found.push_back(*one);
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const Proposal& a, const Proposal& b) { return a.rank > b.rank; });
    return found;
}

} // namespace tarvix
