#include "pair_findings.h"

#include <locale>
#include <sstream>

namespace tarvix {

namespace {

constexpr double usualRowError = 0.3; // pixels, median; above: the cameras moved, or soft corners
constexpr double strayRowError = 1;   // pixels; below: no pair is a stray
constexpr double strayFactor = 4;     // over the median of all

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
