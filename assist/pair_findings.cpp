#include "pair_findings.h"

#include <algorithm>
#include <locale>
#include <sstream>

namespace tarvix {

namespace {

constexpr double usualRowError = 0.3; // pixels, median; above: the cameras moved, or soft corners
constexpr double strayRowError = 1;   // pixels; below: no pair is a stray
constexpr double strayFactor = 4;     // over the median of all
constexpr double usualRms = 1;        // pixels; above: something is wrong with a pair at least
constexpr double usualMiss = 0.02;    // of the squares that are measured again

std::string shown(double value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(4);
    text << value;
    return text.str();
}

std::string pixels(double value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.setf(std::ios::fixed);
    text.precision(2);
    text << value << " pixels";
    return text.str();
}

} // namespace

std::vector<Finding> findingsOfPair(const MetricPair& pair, const RowErrors& rows,
                                    const std::vector<double>& squares, double square,
                                    const std::vector<std::string>& names) {
    std::vector<Finding> findings;
    for (std::size_t i = 0; i < rows.pairMedian.size(); ++i) {
        const double row = rows.pairMedian[i];
        if (row > strayRowError && row > strayFactor * rows.median) {
            findings.push_back({false, names.at(i) + " do not belong together: their rows are " +
                                           pixels(row) + " apart, where the median is " +
                                           pixels(rows.median)});
        }
    }
    // Pairs that do not belong together spoil the others' rows, too: the largest error tells.
    if (pair.rms > usualRms && !pair.pairRms.empty()) {
        const auto worst = std::max_element(pair.pairRms.begin(), pair.pairRms.end());
        const auto i = static_cast<std::size_t>(worst - pair.pairRms.begin());
        findings.push_back({false, "the corners are met to " + pixels(pair.rms) +
                                       " only, where less than 0.5 is usual; the worst pair is " +
                                       names.at(i) + " with " + pixels(*worst) +
                                       ": were they taken together? Fit again without it"});
    }
    const double low = quantile(squares, 0.1);
    const double high = quantile(squares, 0.9);
    if (low < (1 - usualMiss) * square || high > (1 + usualMiss) * square) {
        findings.push_back({false, "squares of " + shown(square) + " measure " + shown(low) +
                                       " to " + shown(high) +
                                       " (all but a tenth at either end): lengths cannot be "
                                       "trusted to better than that"});
    }
    if (rows.median > usualRowError) {
        findings.push_back(
            {false, "rows match to " + pixels(rows.median) +
                        " (median); below 0.2 is usual for a pair that stands still"});
    }
    if (pair.isSwapped) {
        findings.push_back(
            {false, "the photographs given as left are those of the right camera: measured points "
                    "are the same, but the rectified pair is seen crossed"});
    }
    if (findings.empty()) {
        findings.push_back({true, "the pair is well founded: its rows match to " +
                                      pixels(rows.median) + " (median)"});
    }
    return findings;
}

} // namespace tarvix
