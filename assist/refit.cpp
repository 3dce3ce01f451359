#include "refit.h"

#include <algorithm>
#include <numeric>

namespace tarvix {

Refit dropWorst(std::size_t count, const DropRule& rule,
                const std::function<std::vector<double>(const std::vector<std::size_t>&)>& rmsOf) {
    Refit refit;
    refit.kept.resize(count);
    std::iota(refit.kept.begin(), refit.kept.end(), std::size_t{0});
    int left = rule.worst;
    while (left > 0 || rule.maxRms) {
        const std::vector<double> rms = rmsOf(refit.kept);
        const auto worst = std::max_element(rms.begin(), rms.end());
        if (left <= 0 && (worst == rms.end() || *worst <= *rule.maxRms)) {
            break;
        }
        if (refit.kept.size() <= fewestKept) {
            refit.isEnough = false;
            break;
        }
        const auto position = refit.kept.begin() + (worst - rms.begin());
        refit.dropped.push_back({*position, *worst});
        refit.kept.erase(position);
        --left;
    }
    return refit;
}

} // namespace tarvix
