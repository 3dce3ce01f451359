#include "tests/fuzz/made_operations.h"

namespace fuzz {

namespace {

using host::Kind;
using host::OptionRow;
using host::Takes;

const OptionRow in{.name = "IN", .kind = Kind::Image, .positional = true, .required = true};
const OptionRow out{.name = "out", .kind = Kind::File, .required = true};
const OptionRow outFolder{.name = "out", .kind = Kind::Folder};
const OptionRow folder{.name = "folder", .kind = Kind::Folder, .required = true};
const OptionRow board{.name = "board", .kind = Kind::Board};
const OptionRow report{.name = "report", .kind = Kind::File};

std::vector<workbench::Operation> made() {
    return {
        {.name = "canny", // drawn: no reduced copy
         .takes = Takes::OneImage,
         .options =
             {in, out, {.name = "low", .kind = Kind::Number}, {.name = "l2", .kind = Kind::Flag}}},
        {.name = "converge",
         .takes = Takes::OneImage,
         .options = {in,
                     out,
                     report,
                     {.name = "corners", .kind = Kind::Corners, .words = 4},
                     {.name = "offset", .kind = Kind::Point},
                     {.name = "focal", .kind = Kind::Number},
                     {.name = "tries", .kind = Kind::Integer},
                     {.name = "fit", .kind = Kind::Choice, .choices = {"all", "it's"}},
                     {.name = "fill", .kind = Kind::Colour, .words = 3},
                     {.name = "overlay", .kind = Kind::File, .words = 2},
                     {.name = "save", .kind = Kind::File},
                     {.name = "apply", .kind = Kind::File}}},
        {.name = "align", // both copies are reduced
         .takes = Takes::TwoImages,
         .options = {in,
                     out,
                     {.name = "from", .kind = Kind::Corners, .words = 4},
                     {.name = "to", .kind = Kind::Corners, .words = 4},
                     {.name = "preview", .kind = Kind::Flag}}},
        {.name = "register",
         .takes = Takes::ImageSet,
         .options = {outFolder, {.name = "overlay", .kind = Kind::File}}},
        {.name = "calib",
         .takes = Takes::ImageSet,
         .options = {folder,
                     board,
                     report,
                     {.name = "export", .kind = Kind::File},
                     {.name = "without", .kind = Kind::Images, .words = 9},
                     {.name = "right", .kind = Kind::Image}}},
        {.name = "undistort",
         .takes = Takes::OneImage,
         .options = {in,
                     out,
                     {.name = "calib", .kind = Kind::Folder},
                     {.name = "unknown", .kind = Kind::File}}},
        {.name = "faces",
         .takes = Takes::OneImage,
         .options = {in, {.name = "cascade", .kind = Kind::Text}}},
        {.name = "board", .takes = Takes::Nothing, .options = {board, out}},
    };
}

} // namespace

const std::vector<workbench::Operation>& madeOperations() {
    static const std::vector<workbench::Operation> all = made();
    return all;
}

} // namespace fuzz
