// A command of the program: its row in the table of commands, its options, and a job that runs it.
//
// To add a command, write a function in commands/<family>.cpp that returns its row, by
// imageCommand() or command(), and put it into the list at the end of that file: copy a neighbour.
// Writing, printing and failing are the same for all and stand in run_command.cpp.
#pragma once

#include "host/images.h"
#include "host/output.h"
#include "host/result.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// Only sources that add options include CLI11: it takes longer to compile than most of them.
namespace CLI {
class App;
}

namespace host {

// What the user names on the command line.
enum class Takes { Nothing, OneImage, TwoImages, ImageSet };

// What comes of it. Data is printed; an image that is only made on request does not count.
enum class Makes { Nothing, Data, Image, Files };

// An image that is no photograph: made from one, so that the truth is known.
struct MadeInput {
    std::string from; // "PHOTOS/fruits.jpg"
    std::string to;   // "OUT/grainy.png"
    std::string how;  // a whole sentence for the page
    std::function<cv::Mat(const cv::Mat& photograph)> make;
};

// One entry of the gallery's page: a command line and what to show of it. PHOTOS/ stands for the
// folder of photographs, OUT/ for the gallery's own folder of results.
struct GalleryEntry {
    std::string title;
    std::string text;                 // what the operation is for: one or two sentences
    std::string lookFor{};            // what to look for in the result: one sentence
    std::vector<std::string> command; // "canny", "PHOTOS/building.jpg", "-o", "OUT/canny.png", ...
    std::vector<std::string> before;  // image files to show
    std::vector<std::string> after;
    std::vector<std::vector<std::string>> prepare{}; // commands that must run first
    std::vector<MadeInput> made{};                   // before all commands
    std::string truth{};              // an image that before[0] and after[0] are measured against
    std::vector<std::string> pages{}; // "OUT/report.html": pages that the commands make, linked
};

// The options that all commands share. A command offers those that it knows (options.h); its own
// struct of options derives from this one.
struct CommonOptions {
    std::string in;                // image file to read
    std::string out;               // image file for the result
    std::string format;            // of a result for standard output: png, jpg ...
    bool gray = false;             // hand the export an 8-bit bitmap instead of a 24-bit one
    bool json = false;             // print JSON instead of text
    int quality = 0;               // of the file for the result, 1 to 100; 0: as OpenCV chooses
    bool strip = false;            // leave the photograph's metadata out of it
    bool toStandardOutput = false; // which `out` stands for (piped_images.h)
};

// A command with options of its own, all at their defaults. A parser fills them, or whoever runs
// the job in another way.
struct Job {
    std::shared_ptr<CommonOptions> options;
    std::function<void(CLI::App& parser)> addOptions;

    // Runs the command with the options as they are, any number of times. Throws Failure, BadUsage,
    // and everything that an export lets pass.
    std::function<Result(Output& output)> run;
};

struct Command {
    std::string name;
    std::string help; // one line
    Takes takes = Takes::Nothing;
    Makes makes = Makes::Nothing;
    AsText text{};                       // of its data; without one, only JSON shows the data
    std::vector<std::string> example{};  // words that run it, without -o; IN is an image file
    std::vector<GalleryEntry> gallery{}; // empty if the page does not show it
    std::string work{};                  // what it does while it runs, if that may take long
    bool internal = false;               // for programs: --help does not list it
    std::string family{};                // set by commands()
    std::function<Job()> newJob{};       // set by imageCommand() and command()

    // If its options depend on the words after the program's name: the job for those.
    std::function<Job(const std::vector<std::string>& words)> newJobFor{};
};

// A command that takes one image. `run` gets the bitmap of `options.in`, loaded.
template <class Options>
Command imageCommand(Command row, std::function<void(CLI::App&, Options&)> addOptions,
                     std::function<Result(const Options&, CDib& in)> run) {
    row.takes = Takes::OneImage;
    row.newJob = [addOptions = std::move(addOptions), run = std::move(run)] {
        auto options = std::make_shared<Options>();
        return Job{options, [=](CLI::App& parser) { addOptions(parser, *options); },
                   [=](Output&) {
                       const Bitmap in = loadImage(options->in, options->gray);
                       return run(*options, *in);
                   }};
    };
    return row;
}

// Any other command. `run` reads what it takes.
template <class Options>
Command command(Command row, std::function<void(CLI::App&, Options&)> addOptions,
                std::function<Result(const Options&, Output&)> run) {
    row.newJob = [addOptions = std::move(addOptions), run = std::move(run)] {
        auto options = std::make_shared<Options>();
        return Job{options, [=](CLI::App& parser) { addOptions(parser, *options); },
                   [=](Output& output) { return run(*options, output); }};
    };
    return row;
}

} // namespace host
