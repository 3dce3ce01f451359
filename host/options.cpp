#include "host/options.h"

#include "host/failure.h"
#include "host/numbers.h"

#include <CLI/App.hpp>
#include <functional>
#include <vector>

namespace host {

namespace {

Point parsePoint(const std::string& text) {
    const std::size_t comma = text.find(',');
    Point point{};
    if (comma == std::string::npos || !readNumber(text.substr(0, comma), point[0]) ||
        !readNumber(text.substr(comma + 1), point[1])) {
        throw BadUsage("'" + text + "' is not a point; write x,y (pixels)");
    }
    return point;
}

} // namespace

Board parseBoard(const std::string& text, int smallest) {
    const std::size_t x = text.find('x');
    Board board{};
    if (x == std::string::npos || !readNumber(text.substr(0, x), board[0]) ||
        !readNumber(text.substr(x + 1), board[1])) {
        throw BadUsage("'" + text + "' is not a board; write the inner corners as 9x6");
    }
    if (board[0] < smallest || board[1] < smallest) {
        throw BadUsage("'" + text +
                       "' is too small a board; a calibration needs 3x3 inner corners");
    }
    return board;
}

void addIn(CLI::App& parser, CommonOptions& options) {
    parser.add_option("IN", options.in, "Image file to read; - is standard input")
        ->type_name("IMAGE")
        ->required();
}

namespace {

void addFormat(CLI::App& parser, CommonOptions& options) {
    parser.add_option("--format", options.format,
                      "With -o -: the format (png, jpg, bmp, tif ...; otherwise png)");
}

void addQuality(CLI::App& parser, CommonOptions& options) {
    parser
        .add_option("--quality", options.quality,
                    "Quality of a JPEG or WebP file: 1 to 100 (otherwise 95, and WebP lossless)")
        ->check(wholeFrom(1, 100));
}

void addStrip(CLI::App& parser, CommonOptions& options) {
    parser.add_flag("--strip", options.strip,
                    "Leave out the photograph's metadata: EXIF, XMP and the colour profile");
}

} // namespace

void addOut(CLI::App& parser, CommonOptions& options) {
    parser
        .add_option("-o,--out", options.out,
                    "Image file to write; the extension chooses the format (png, jpg, bmp, tif "
                    "...); - is standard output")
        ->type_name("FILE")
        ->required();
    addFormat(parser, options);
    addQuality(parser, options);
}

void addDrawing(CLI::App& parser, CommonOptions& options, const std::string& names,
                const std::string& help) {
    parser.add_option(names, options.out, help + "; - is standard output")->type_name("FILE");
    addFormat(parser, options);
    addQuality(parser, options);
    addStrip(parser, options);
}

void addInOut(CLI::App& parser, CommonOptions& options) {
    addIn(parser, options);
    addOut(parser, options);
    addStrip(parser, options);
}

void addGray(CLI::App& parser, CommonOptions& options) {
    parser.add_flag("--gray", options.gray,
                    "Hand over an 8-bit grey bitmap instead of a 24-bit one");
}

void addJson(CLI::App& parser, CommonOptions& options, const std::string& help) {
    parser.add_flag("--json", options.json, help);
}

CLI::Option* addPoint(CLI::App& parser, const std::string& name, Point& point,
                      const std::string& help) {
    const auto store = [&point](const std::string& text) { point = parsePoint(text); };
    return parser.add_option_function<std::string>(name, store, help)->type_name("POINT");
}

namespace {

CLI::Option* addFourPoints(CLI::App& parser, const std::string& name,
                           const std::function<void(const Corners&)>& store,
                           const std::string& help) {
    const auto read = [store](const std::vector<std::string>& points) {
        Corners corners{};
        for (std::size_t i = 0; i < 4; ++i) {
            const auto [x, y] = parsePoint(points[i]);
            corners[2 * i] = x;
            corners[2 * i + 1] = y;
        }
        store(corners);
        return true;
    };
    return parser.add_option(name, read, help + ": x,y x,y x,y x,y (pixels, origin top left)")
        ->type_name("POINT")
        ->expected(4);
}

} // namespace

void addCorners(CLI::App& parser, const std::string& name, Corners& corners,
                const std::string& help) {
    const auto store = [&corners](const Corners& read) { corners = read; };
    addFourPoints(parser, name, store, help)->required();
}

CLI::Option* addCorners(CLI::App& parser, const std::string& name, std::optional<Corners>& corners,
                        const std::string& help) {
    const auto store = [&corners](const Corners& read) { corners = read; };
    return addFourPoints(parser, name, store, help);
}

void addBoard(CLI::App& parser, Board& board, int smallest) {
    const auto store = [&board, smallest](const std::string& text) {
        board = parseBoard(text, smallest);
    };
    parser
        .add_option_function<std::string>(
            "--board", store, "Inner corners of the chessboard, per row x per column, such as 9x6")
        ->type_name("WxH")
        ->required();
}

} // namespace host
