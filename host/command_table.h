// The table of commands for programs: what each takes, so that a page can offer it as sliders and
// fields. It is read from the commands' own parsers.
#pragma once

#include "host/command.h"

#include <optional>
#include <string>
#include <vector>

namespace host {

// What the value of an option is.
enum class Kind {
    Flag,    // no value
    Integer, //
    Number,
    Choice,  // one of some names
    Point,   // x,y
    Corners, // four points, as four words
    Board,   // WxH
    Colour,  // three integers, as three words
    Image,   // a file to read
    Images,  // several
    Folder,
    File, // to write or to read, or several
    Text,
};

struct OptionRow {
    std::string name{}; // the first long one, without dashes, or the name of a positional argument
    std::string help{};
    Kind kind = Kind::Text;
    bool positional = false;
    bool required = false;
    int words = 1;                      // that its value takes at most
    std::string defaultValue{};         // as it would be written; empty: none, or not shown
    std::optional<double> minimum{};    // included, unless `above` is set
    bool above = false;                 // the number must be above the minimum
    std::optional<double> maximum{};    // included
    double step = 0;                    // of integers; 0: not a number
    std::vector<std::string> choices{}; // of Kind::Choice
    std::string unit{};                 // "pixels", "mm", "degrees"; empty: none
};

// All but --help, --json, --verbose and those that are for programs only.
std::vector<OptionRow> optionsOf(const Command& command);

// "flag", "integer", ...
const char* nameOf(Kind kind);

// A command as an object: name, help, family, takes, makes, long, positionals, options.
Json asJson(const Command& command);

} // namespace host
