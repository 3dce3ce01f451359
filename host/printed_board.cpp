#include "host/printed_board.h"

#include "host/calibration_text.h"
#include "host/failure.h"
#include "host/sentences.h"
#include "platform/system/paths.h"

#include <array>
#include <cmath>
#include <locale>
#include <sstream>
#include <utility>

namespace host {

namespace {

constexpr double margin = 10;       // mm; printers leave some of it white anyway
constexpr double lettering = 14;    // mm below the board, for the ruler and the label
constexpr double rulerLength = 100; // mm

struct Paper {
    const char* name;
    double shorter, longer; // mm, ISO 216
};
constexpr std::array<Paper, 5> papers{
    {{"A4", 210, 297}, {"A3", 297, 420}, {"A2", 420, 594}, {"A1", 594, 841}, {"A0", 841, 1189}}};

std::string number(double value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << value;
    return text.str();
}

} // namespace

PrintedBoard layOutBoard(const Board& board, double square) {
    const double columns = board[0] + 1.0;
    const double rows = board[1] + 1.0;
    const cv::Size2d size(columns * square, rows * square);
    const cv::Size2d needed(std::max(size.width, rulerLength) + 2 * margin,
                            size.height + 2 * margin + lettering);
    PrintedBoard printed;
    for (const Paper& paper : papers) {
        for (const cv::Size2d& page :
             {cv::Size2d(paper.longer, paper.shorter), cv::Size2d(paper.shorter, paper.longer)}) {
            if (printed.paper.empty() && needed.width <= page.width &&
                needed.height <= page.height) {
                printed.paper = paper.name;
                printed.page = page;
            }
        }
    }
    if (printed.paper.empty()) {
        throw Failure("a board of " + number(size.width) + " x " + number(size.height) +
                      " mm fits on no paper up to A0");
    }
    const cv::Point2d origin((printed.page.width - size.width) / 2,
                             (printed.page.height - lettering - size.height) / 2);
    for (int row = 0; row <= board[1]; ++row) {
        for (int column = row % 2; column <= board[0]; column += 2) {
            printed.squares.emplace_back(origin.x + column * square, origin.y + row * square,
                                         square, square);
        }
    }
    const double bottom = printed.page.height - margin;
    printed.ruler = {margin, bottom - 7, rulerLength, 1};
    printed.labelAt = {margin, bottom};
    printed.label = times(board[0], board[1]) + " inner corners, squares of " + number(square) +
                    " mm. Print at 100 %: the line is 100 mm long.";
    return printed;
}

std::string boardAsSvg(const PrintedBoard& board) {
    const auto rectangle = [](const cv::Rect2d& r) {
        return "<rect x=\"" + number(r.x) + "\" y=\"" + number(r.y) + "\" width=\"" +
               number(r.width) + "\" height=\"" + number(r.height) + "\"/>\n";
    };
    const std::string width = number(board.page.width);
    const std::string height = number(board.page.height);
    std::string svg = R"(<svg xmlns="http://www.w3.org/2000/svg" width=")" + width +
                      "mm\" height=\"" + height + "mm\" viewBox=\"0 0 " + width + " " + height +
                      "\" shape-rendering=\"crispEdges\">\n"
                      "<style>@page { size: " +
                      width + "mm " + height + "mm; margin: 0 }</style>\n";
    for (const cv::Rect2d& square : board.squares) {
        svg += rectangle(square);
    }
    return svg + rectangle(board.ruler) + "<text x=\"" + number(board.labelAt.x) + "\" y=\"" +
           number(board.labelAt.y) + R"(" font-family="sans-serif" font-size="3.5">)" +
           board.label + "</text>\n</svg>\n";
}

std::string boardAsFile(const PrintedBoard& board, const std::string& path) {
    const std::string extension = tarvix::nameOf(tarvix::pathOf(path).extension());
    if (extension == ".svg" || extension == ".SVG") {
        return boardAsSvg(board);
    }
    if (extension == ".pdf" || extension == ".PDF") {
        return boardAsPdf(board);
    }
    throw BadUsage("'" + path + "' names no format of a board: write .pdf or .svg");
}

} // namespace host
