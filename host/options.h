// Options that several commands have, and how they are read. Each function adds one to a command's
// parser; a value that cannot be read throws BadUsage.
#pragma once

#include "host/command.h"

#include <array>
#include <limits>
#include <optional>
#include <string>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace host {

using Point = std::array<double, 2>;   // x, y
using Corners = std::array<double, 8>; // four points x0, y0, ..., x3, y3, as the exports take them
using Board = std::array<int, 2>;      // inner corners per row, per column

// Inner corners that OpenCV needs each way to find a board.
inline constexpr int smallestBoard = 3;

// IN, the image file to read, or - for standard input.
void addIn(CLI::App& parser, CommonOptions& options);

// -o, the image file for the result, --format and --quality.
void addOut(CLI::App& parser, CommonOptions& options);

// The same, and --strip, for commands that make an image only on request.
//   names  such as "-o,--out"
//   help   what the image shows
void addDrawing(CLI::App& parser, CommonOptions& options, const std::string& names,
                const std::string& help);

// Both, and --strip, for commands that make one image of one.
void addInOut(CLI::App& parser, CommonOptions& options);

// --gray.
void addGray(CLI::App& parser, CommonOptions& options);

// --json.
void addJson(CLI::App& parser, CommonOptions& options,
             const std::string& help = "Print one JSON object instead of lines of text");

// An option x,y.
CLI::Option* addPoint(CLI::App& parser, const std::string& name, Point& point,
                      const std::string& help);

// An option x,y x,y x,y x,y, which is required.
void addCorners(CLI::App& parser, const std::string& name, Corners& corners,
                const std::string& help);

// The same, which may be left out.
CLI::Option* addCorners(CLI::App& parser, const std::string& name, std::optional<Corners>& corners,
                        const std::string& help);

// The board of a text such as "9x6". Throws BadUsage if it is none, or if a side is below
// `smallest`.
Board parseBoard(const std::string& text, int smallest = std::numeric_limits<int>::min());

// --board WxH, which is required. A side below `smallest` is bad usage; by default, the module says
// what it refuses.
void addBoard(CLI::App& parser, Board& board, int smallest = std::numeric_limits<int>::min());

} // namespace host
