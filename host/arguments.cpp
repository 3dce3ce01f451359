#include "host/arguments.h"

#include <charconv>

namespace host {

namespace {

// std::from_chars, so that no locale turns a point into a comma.
double parseNumber(const std::string& text, const std::string& whole) {
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end) {
        throw CLI::ValidationError("'" + whole + "' is not a point; write x,y (pixels)");
    }
    return value;
}

int parseCount(const std::string& digits, const std::string& whole) {
    int value = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    if (error != std::errc{} || stop != end) {
        throw CLI::ValidationError("'" + whole +
                                   "' is not a board; write the inner corners as 9x6");
    }
    return value;
}

} // namespace

std::array<double, 2> parsePoint(const std::string& text) {
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos) {
        throw CLI::ValidationError("'" + text + "' is not a point; write x,y (pixels)");
    }
    return {parseNumber(text.substr(0, comma), text), parseNumber(text.substr(comma + 1), text)};
}

CLI::Option* addCorners(CLI::App& command, const std::string& name, std::array<double, 8>& corners,
                        const std::string& help) {
    const auto read = [&corners](const std::vector<std::string>& points) {
        for (std::size_t i = 0; i < 4; ++i) {
            const auto [x, y] = parsePoint(points[i]);
            corners[2 * i] = x;
            corners[2 * i + 1] = y;
        }
        return true;
    };
    return command.add_option(name, read, help + ": x,y x,y x,y x,y (pixels, origin top left)")
        ->type_name("POINT")
        ->expected(4);
}

CLI::Option* addBoard(CLI::App& command, std::array<int, 2>& board) {
    const auto read = [&board](const std::string& text) {
        const std::size_t x = text.find('x');
        const std::string down = x == std::string::npos ? std::string() : text.substr(x + 1);
        board = {parseCount(text.substr(0, x), text), parseCount(down, text)};
        return true;
    };
    return command
        .add_option_function<std::string>(
            "--board", read, "Inner corners of the chessboard, per row x per column, such as 9x6")
        ->type_name("WxH")
        ->required();
}

void addInOut(CLI::App& command, std::string& in, std::string& out) {
    command.add_option("IN", in, "Picture file to read")->required();
    command
        .add_option(
            "-o,--out", out,
            "Picture file to write; the extension chooses the format (png, jpg, bmp, tif ...)")
        ->required();
}

void addGray(CLI::App& command, bool& gray) {
    command.add_flag("--gray", gray, "Hand over an 8-bit grey bitmap instead of a 24-bit one");
}

} // namespace host
