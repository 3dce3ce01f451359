// The drawing and the table in docs/geometry.md of what refuses the candidates of the convergence
// search: both are made here, and the committed ones must be the same. TARVIX_DRAW=1 writes the
// drawing.
#include "geometry/converge_scan.h"
#include "tests/geometry/quad_cases.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <map>
#include <numeric>
#include <sstream>
#include <string>

namespace {

using namespace tarvix;
using namespace tarvix::test;
using converge_detail::Decision;
using converge_detail::PoseSearch;
using converge_detail::SearchRules;

constexpr std::size_t decisions = 4;

// One stage: of each pitch and yaw, the decision that the most stubborn of its focal lengths took;
// and how many candidates each decision was for.
struct Map {
    std::map<std::pair<std::size_t, std::size_t>, Decision> cells;
    std::array<int, decisions> counts{};
};

struct DrawingRules : SearchRules {
    static void atCell(int stage, std::size_t pitch, std::size_t yaw) {
        current = &maps[stage];
        cell = {pitch, yaw};
    }
    static void decided(Decision by, int firstFocal, int lastFocal) {
        const auto [place, isNew] = current->cells.try_emplace(cell, by);
        place->second = std::max(place->second, by);
        current->counts.at(static_cast<std::size_t>(by)) += lastFocal - firstFocal + 1;
    }
    static inline std::map<int, Map> maps;
    static inline Map* current = nullptr;
    static inline std::pair<std::size_t, std::size_t> cell;
};

std::map<int, Map> searchFor(const MarkedQuad& quad, double focalMm) {
    DrawingRules::maps.clear();
    PoseSearch<DrawingRules>(quad, focalMm).run();
    return DrawingRules::maps;
}

constexpr std::array<const char*, decisions> classes = {"v", "c", "p", "e"};
constexpr std::array<const char*, decisions> names = {"vanishing points", "cosines of the edges",
                                                      "projected edges", "evaluated"};

// Neighbouring cells of a row that share a decision are one rectangle.
void drawMap(std::ostream& svg, const Map& map, int left, int top) {
    std::size_t rows = 0;
    std::size_t columns = 1;
    for (const auto& entry : map.cells) {
        rows = std::max(rows, entry.first.first + 1);
        columns = std::max(columns, entry.first.second + 1);
    }
    const std::size_t size = 200 / columns;
    svg << "<g transform=\"translate(" << left << ' ' << top << ")\">\n";
    for (std::size_t decision = 0; decision < decisions; ++decision) {
        std::ostringstream path;
        for (std::size_t row = 0; row < rows; ++row) {
            for (std::size_t column = 0; column < columns;) {
                std::size_t end = column;
                while (end < columns &&
                       map.cells.at({row, end}) == static_cast<Decision>(decision)) {
                    ++end;
                }
                if (end > column) {
                    path << 'M' << column * size << ' ' << row * size << 'h'
                         << (end - column) * size << 'v' << size << 'h' << '-'
                         << (end - column) * size << 'z';
                }
                column = std::max(end, column + 1);
            }
        }
        if (!path.str().empty()) {
            svg << "<path class=\"" << classes.at(decision) << "\" d=\"" << path.str() << "\"/>\n";
        }
    }
    int y = 222;
    for (std::size_t decision = 0; decision < decisions; ++decision, y += 17) {
        svg << "<rect class=\"" << classes.at(decision) << "\" y=\"" << y - 10
            << R"(" width="12" height="12"/><text x="18" y=")" << y << "\">"
            << map.counts.at(decision) << ' ' << names.at(decision) << "</text>\n";
    }
    svg << "</g>\n";
}

std::string drawing() {
    SimulatedView view;
    view.pitchDeg = -17.0;
    view.yawDeg = 23.0;
    view.rollDeg = 3.0;
    view.focalMm = 27.0;
    view.width = 0.7;
    view.height = 0.5;
    view.centreX = -0.4;
    view.centreY = -0.3;
    MarkedQuad quad = photograph(view);
    for (cv::Point2d& p : quad.corners) { // marked in whole pixels
        p = {std::floor(p.x + 0.5), std::floor(p.y + 0.5)};
    }
    std::ostringstream svg;
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 720 680\" width=\"720\" "
           "height=\"680\" font-family=\"sans-serif\" font-size=\"13\">\n"
           "<title>What refuses the candidates of the convergence search</title>\n"
           "<style>.v{fill:#dfe6ee}.c{fill:#7fa3c7}.p{fill:#d98b3a}.e{fill:#b3202a}</style>\n"
           "<rect width=\"720\" height=\"680\" fill=\"white\"/>\n";
    int top = 50;
    for (const double focal : {0.0, 35.0}) {
        const std::map<int, Map> maps = searchFor(quad, focal);
        int left = 20;
        for (const auto& [stage, map] : maps) {
            svg << "<text x=\"" << left << "\" y=\"" << top - 10 << "\">stage " << stage
                << (focal == 0.0 ? ", focal length unknown" : ", focal length 35 mm")
                << "</text>\n";
            drawMap(svg, map, left, top);
            left += 235;
        }
        top += 330;
    }
    svg << "</svg>\n";
    return svg.str();
}

TEST(Refusals, TheDrawingInTheDocumentationIsCurrent) {
    const std::string drawn = drawing();
    if (std::getenv("TARVIX_DRAW") != nullptr) { // NOLINT(concurrency-mt-unsafe)
        std::ofstream(TARVIX_REFUSALS, std::ios::binary) << drawn;
    }
    std::ifstream file(TARVIX_REFUSALS, std::ios::binary);
    ASSERT_TRUE(file) << TARVIX_REFUSALS;
    std::ostringstream committed;
    committed << file.rdbuf();
    EXPECT_TRUE(committed.str() == drawn)
        << "what is refused has changed: TARVIX_DRAW=1 test_refusals draws it anew";
}

// The lines of the table in docs/geometry.md: of the facades of bench_converge, the mean number of
// candidates of each stage and what became of them.
std::string table() {
    constexpr int facades = 24;
    std::ostringstream text;
    text << std::fixed << std::setprecision(1);
    for (const double focal : {0.0, 35.0}) {
        std::map<int, std::array<int, decisions>> sums;
        std::mt19937_64 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
        for (int i = 0; i < facades; ++i) {
            for (const auto& [stage, map] : searchFor(randomFacade(random), focal)) {
                for (std::size_t decision = 0; decision < decisions; ++decision) {
                    sums[stage].at(decision) += map.counts.at(decision);
                }
            }
        }
        for (const auto& [stage, sum] : sums) {
            const int all = std::accumulate(sum.begin(), sum.end(), 0);
            text << "| " << stage << (focal == 0.0 ? ", unknown" : ", 35 mm") << " | "
                 << all / facades << " |";
            for (const int count : sum) {
                text << ' ' << static_cast<double>(count) / facades << " |";
            }
            text << '\n';
        }
    }
    return text.str();
}

TEST(Refusals, TheTableInTheDocumentationIsCurrent) {
    std::ifstream file(TARVIX_GEOMETRY_PAGE, std::ios::binary);
    std::ostringstream page;
    page << file.rdbuf();
    EXPECT_NE(page.str().find("|---|---|---|---|---|---|\n" + table()), std::string::npos)
        << "the rows of the table in " << TARVIX_GEOMETRY_PAGE << " must be:\n"
        << table();
}

TEST(Refusals, CountEveryCandidateOnce) {
    std::mt19937_64 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    for (int i = 0; i < 20; ++i) {
        const MarkedQuad quad = randomFacade(random);
        for (const double focal : {0.0, 35.0}) {
            int all = 0;
            for (const auto& [stage, map] : searchFor(quad, focal)) {
                for (const int count : map.counts) {
                    all += count;
                }
            }
            EXPECT_EQ(all, focal == 0.0 ? 6875 + 9261 + 8000 : 625 + 441 + 400);
        }
    }
}

} // namespace
