// What proposals for sheets and facades share: the scaled image, and the choice among candidates.
#pragma once

#include "edge_support.h"
#include "proposals.h"

namespace tarvix {

// An image made small, and how to get back.
struct SmallImage {
    explicit SmallImage(const cv::Mat& image);

    cv::Mat pixels;
    double scale = 1; // small per full-size pixels
};

// Keeps the best of the candidates. Corners are those of the small image.
class ProposalChoice {
public:
    explicit ProposalChoice(const SmallImage& image);

    // Refines the corners, scores them and keeps them if they are the best so far.
    void consider(const Quad& corners);

    [[nodiscard]] const EdgeMap& edges() const { return m_edges; }

    // In pixels of the full image.
    [[nodiscard]] std::optional<Proposal> best(const char* kind) const;

private:
    [[nodiscard]] bool isPlausible(const Quad& corners) const;

    EdgeMap m_edges;
    double m_scale;
    std::optional<Proposal> m_best;
};

} // namespace tarvix
