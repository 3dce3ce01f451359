// Leaving out the worst views of a calibration, when somebody asks for it.
#pragma once

#include <functional>
#include <optional>
#include <vector>

namespace tarvix {

// What is to be left out. By default nothing is.
struct DropRule {
    int worst = 0;                // so many views, the worst one each time, with a fit in between
    std::optional<double> maxRms; // then the worst one until none is above this, pixels
};

struct DroppedView {
    std::size_t view; // its position in the whole set
    double rms;       // when it was left out, pixels
};

struct Refit {
    std::vector<std::size_t> kept; // positions, in order
    std::vector<DroppedView> dropped;
    bool isEnough = true; // false: the rule asks for more than can be left out; nothing further was
};

// Fewer views than this are never left.
inline constexpr std::size_t fewestKept = 3;

// Applies the rule to a set of `count` views.
//   rmsOf  fits the views at these positions and returns the rms of each, pixels
// `rmsOf` is not called for a rule that drops nothing. What it throws propagates to the caller.
Refit dropWorst(std::size_t count, const DropRule& rule,
                const std::function<std::vector<double>(const std::vector<std::size_t>&)>& rmsOf);

} // namespace tarvix
