// How the sub-commands read their arguments.
#pragma once

#include <CLI/CLI.hpp>

#include <array>
#include <string>
#include <vector>

namespace host {

// Adds the four-corner option `name`: x,y x,y x,y x,y in pixels, stored as 8 doubles.
CLI::Option* addCorners(CLI::App& command, const std::string& name, std::array<double, 8>& corners,
                        const std::string& help);

// Adds the input picture as a positional argument and -o/--out for the result.
void addInOut(CLI::App& command, std::string& in, std::string& out);

// Adds --gray: hand the export an 8-bit bitmap instead of a 24-bit one.
void addGray(CLI::App& command, bool& gray);

// Adds --board WxH: the inner corners of a chessboard, per row and per column, as the exports take
// them.
CLI::Option* addBoard(CLI::App& command, std::array<int, 2>& board);

// Splits "x,y" into two numbers. Throws CLI::ValidationError.
std::array<double, 2> parsePoint(const std::string& text);

} // namespace host
