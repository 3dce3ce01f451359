// What the search's screen is not trusted with is projected: no candidate of the first stage is
// refused by a bound of the screen unless it is near or far.
#include "geometry/converge_scan.h"
#include "tests/geometry/quad_cases.h"
#include "tests/geometry/seen.h"

#include <gtest/gtest.h>

#include <array>
#include <bitset>
#include <cstddef>
#include <string>
#include <vector>

namespace {

using namespace tarvix;
using namespace tarvix::test;
using converge_detail::Decision;
using converge_detail::PoseSearch;
using converge_detail::SearchRules;

constexpr std::size_t angles = 25; // of the first stage
constexpr std::size_t focals = 11;
using Focals = std::bitset<focals>; // of one pitch and yaw, the shortest is bit 0

// Notes the candidates of the first stage that are projected.
struct NotingRules : SearchRules {
    static void atCell(int stage, std::size_t pitch, std::size_t yaw) {
        current = stage == 1 ? &projected.at(pitch).at(yaw) : nullptr;
        cells += stage == 1 ? 1 : 0;
    }
    static void decided(Decision by, int firstFocal, int lastFocal) {
        const bool isProjected = by == Decision::ProjectedEdges || by == Decision::Error;
        for (int i = firstFocal; current != nullptr && isProjected && i <= lastFocal; ++i) {
            current->set(static_cast<std::size_t>(i));
        }
    }
    static inline std::array<std::array<Focals, angles>, angles> projected;
    static inline Focals* current = nullptr;
    static inline int cells = 0;
};

// Corners 40 pixels and less from the centre, for which the longest focal lengths are too long.
std::vector<QuadCase> smallOnes() {
    std::mt19937_64 random(6); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    std::vector<QuadCase> cases;
    for (int i = 0; i < 30; ++i) {
        MarkedQuad quad = randomFacade(random);
        const cv::Point2d centre(quad.image.width * 0.5, quad.image.height * 0.5);
        for (cv::Point2d& p : quad.corners) {
            p = centre + (p - centre) * 0.03;
        }
        cases.push_back({"small " + std::to_string(i), quad, 0.0});
    }
    return cases;
}

// Whether the screen may be trusted with each focal length of a pitch and yaw, of itself.
Focals trusted(const MarkedQuad& quad, double pitchDeg, double yawDeg) {
    Focals result;
    const Seen<SearchRules> seen(View{quad, 1.0, pitchDeg, yawDeg});
    for (std::size_t i = 0; i < focals; ++i) {
        const double focalMm = 1.0 + 5.0 * static_cast<double>(i);
        const auto focal = seen.screen.focal(Lens(quad.image, focalMm).focalPx);
        result[i] = seen.screen.isNear(seen.cell, focal) || seen.screen.isFar(seen.cell, focal);
    }
    return result;
}

TEST(Screen, RefusesOnlyWhatIsNearOrFar) {
    std::vector<QuadCase> cases = hostileCases(61, 64);
    for (const QuadCase& c : smallOnes()) {
        cases.push_back(c);
    }
    // Pitches and yaws of which only the shortest, only the longest focal lengths are untrusted.
    int shortest = 0;
    int longest = 0;
    for (const QuadCase& c : cases) {
        NotingRules::projected = {};
        NotingRules::cells = 0;
        PoseSearch<NotingRules>(c.quad, 0.0).run();
        if (NotingRules::cells == 0) {
            continue; // corners without a centroid
        }
        for (std::size_t pitch = 0; pitch < angles; ++pitch) {
            for (std::size_t yaw = 0; yaw < angles; ++yaw) {
                const Focals isTrusted = trusted(c.quad, -60.0 + 5.0 * static_cast<double>(pitch),
                                                 -60.0 + 5.0 * static_cast<double>(yaw));
                const Focals refused = ~isTrusted & ~NotingRules::projected.at(pitch).at(yaw);
                EXPECT_TRUE(refused.none()) << c.name << ", pitch " << pitch << ", yaw " << yaw
                                            << ": of the focal lengths, the longest first, "
                                            << refused << " are refused without trust";
                shortest += !isTrusted[0] && isTrusted[focals - 1] ? 1 : 0;
                longest += isTrusted[0] && !isTrusted[focals - 1] ? 1 : 0;
            }
        }
    }
    EXPECT_GT(shortest, 1000);
    EXPECT_GT(longest, 1000);
}

} // namespace
