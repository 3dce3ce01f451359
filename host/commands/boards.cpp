#include "host/commands.h"
#include "host/corner_records.h"
#include "host/options.h"
#include "host/sentences.h"

#include <tarvix/tarvix.h>

#include <CLI/App.hpp>
#include <charconv>
#include <iomanip>
#include <sstream>

namespace host {

namespace {

// "x,y;x,y;..." as an array of [x, y].
Json cornersOf(const std::string& list) {
    Json corners = Json::array();
    const char* next = list.data();
    const char* const end = list.data() + list.size();
    while (next < end) {
        Point point{};
        for (double& coordinate : point) {
            next = std::from_chars(next, end, coordinate).ptr;
            if (next < end) {
                ++next; // the comma or the semicolon
            }
        }
        corners.push_back(point);
    }
    return corners;
}

std::string cornersAsText(const Json& data) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(1); // the export gives one decimal
    for (const Json& corner : data.at("corners")) {
        text << corner[0].get<double>() << ',' << corner[1].get<double>() << '\n';
    }
    return text.str();
}

Command chessboard() {
    struct Options : CommonOptions {
        Board board{};
        bool forCalib = false;
    };
    return command<Options>(
        {.name = "chessboard",
         .help = "Find a chessboard's inner corners and print them, one x,y a line (pixels)",
         .takes = Takes::OneImage,
         .makes = Makes::Data,
         .text = cornersAsText,
         .example = {"IN", "--board", "9x6"},
         .gallery = {{.title = "Chessboard",
                      .text = "The inner corners of a calibration board, refined to a fraction of "
                              "a pixel: what a calibration measures.",
                      .lookFor =
                          "One circle on each inner corner, row by row in the colours of the "
                          "rainbow.",
                      .command = {"chessboard", "PHOTOS/left01.jpg", "--board", "9x6", "-o",
                                  "OUT/chessboard.png"},
                      .before = {"PHOTOS/left01.jpg"},
                      .after = {"OUT/chessboard.png"}}}},
        [](CLI::App& parser, Options& o) {
            addIn(parser, o);
            addBoard(parser, o.board);
            addDrawing(parser, o, "-o,--out", "Write the image with the corners drawn");
            addGray(parser, o);
            parser
                .add_flag(
                    "--for-calib", o.forCalib,
                    "Find them as calib does, to the last digit (with --json or in a manifest), "
                    "for calib --from-corners")
                ->excludes(parser.get_option("--out"))
                ->excludes(parser.get_option("--gray"));
            addJson(parser, o);
        },
        [](const Options& o, Output&) {
            if (o.forCalib) {
                return Result{.data = cornersForCalib(o.in, o.board)};
            }
            const Bitmap in = loadImage(o.in, o.gray);
            CString corners;
            const cv::Mat drawn = take(tx_FindChessboard(*in, o.board[0], o.board[1], corners),
                                       "no chessboard of " + times(o.board[0], o.board[1]) +
                                           " inner corners in '" + o.in + "'");
            return Result{
                .image = o.out.empty() ? cv::Mat() : drawn,
                .data = {{"board", o.board}, {"corners", cornersOf(corners.GetString())}}};
        });
}

} // namespace

std::vector<Command> boardCommands() {
    return {chessboard()};
}

} // namespace host
