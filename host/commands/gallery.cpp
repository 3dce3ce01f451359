// tarvix gallery DIR: runs every operation that has an entry in the gallery and writes its page.
#include "host/commands.h"
#include "host/failure.h"
#include "host/gallery_page.h"
#include "host/run_command.h"
#include "host/saving.h"
#include "platform/system/paths.h"
#include "platform/system/stray_lines.h"

#include <CLI/App.hpp>
#include <opencv2/imgcodecs.hpp>

#include <chrono>
#include <filesystem>
#include <iomanip>
#include <sstream>

namespace host {

namespace {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

struct GalleryOptions : CommonOptions {
    std::string directory;
    std::string photos = "/usr/share/doc/opencv-doc/examples/data";
};

// Copies the photographs that the entry names into the page's folder, so that its commands can be
// run again there. One that is missing is for the command to report.
void copyPhotographs(const GalleryEntry& entry, const GalleryOptions& o, const GalleryPage& page) {
    std::vector<std::string> words = entry.command;
    for (const auto& more : entry.prepare) {
        words.insert(words.end(), more.begin(), more.end());
    }
    words.insert(words.end(), entry.before.begin(), entry.before.end());
    for (const MadeInput& input : entry.made) {
        words.push_back(input.from);
    }
    for (const std::string& word : words) {
        if (word.rfind("PHOTOS/", 0) == 0) {
            std::error_code error;
            fs::copy_file(pathOf(o.photos) / pathOf(word.substr(7)), pathOf(page.placed(word)),
                          fs::copy_options::overwrite_existing, error);
        }
    }
}

void makeInput(const MadeInput& input, const GalleryPage& page) {
    const std::string from = page.placed(input.from);
    const cv::Mat photograph = cv::imread(from, cv::IMREAD_COLOR);
    if (!photograph.empty()) { // else the command says that its input is missing
        saveImage(input.make(photograph), page.placed(input.to));
    }
}

// Runs the entry's commands. What they print is for the page, not for the gallery's list of steps.
GalleryRun runEntry(const GalleryEntry& entry, const GalleryPage& page) {
    std::ostringstream printed;
    std::ostringstream errors;
    Output output(printed, errors);
    GalleryRun run;
    for (const MadeInput& input : entry.made) {
        makeInput(input, page);
    }
    const auto start = std::chrono::steady_clock::now(); // of all commands that the page shows
    for (std::size_t k = 0; run.status == 0 && k < entry.prepare.size(); ++k) {
        run.status = runCommand(page.placed(entry.prepare[k]), output);
    }
    if (run.status == 0) {
        run.status = runCommand(page.placed(entry.command), output);
    }
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.printed = printed.str();
    run.errors = errors.str();
    return run;
}

// Runs the entry, puts it on the page, and says how it went. Returns the exit status.
int show(const GalleryEntry& entry, GalleryPage& page, Output& output) {
    const GalleryRun run = runEntry(entry, page);
    std::ostringstream line;
    line << (run.status == 0 ? "" : "FAILED ") << std::fixed << std::setprecision(2) << run.seconds
         << " s\n";
    output.say(line.str());
    if (run.status == 0) {
        page.makePagesRelative(entry);
    } else {
        tarvix::standardError() << run.errors;
    }
    page.add(entry, run);
    return run.status;
}

Result runGallery(const GalleryOptions& o, Output& output) {
    const fs::path directory = pathOf(o.directory);
    std::error_code error;
    if (!fs::is_directory(pathOf(o.photos), error)) {
        throw Failure("no folder of photographs at '" + o.photos +
                      "'; the package opencv-doc brings it, or give --photos");
    }
    if (fs::equivalent(pathOf(o.photos), directory / "photos", error)) {
        throw Failure("the photographs are in '" + o.photos +
                      "', where the page's copies go; give another DIR");
    }
    makeFolder(nameOf(directory / "photos"));
    makeFolder(nameOf(directory / "results"));
    std::vector<GalleryEntry> entries;
    for (const Command& command : commands()) {
        entries.insert(entries.end(), command.gallery.begin(), command.gallery.end());
    }
    GalleryPage page(directory);
    for (const GalleryEntry& entry : entries) {
        page.removeOldResults(entry);
        copyPhotographs(entry, o, page);
    }
    int failed = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        output.say("[" + std::to_string(i + 1) + "/" + std::to_string(entries.size()) + "] " +
                   entries[i].title + " ... ");
        failed += show(entries[i], page, output) == 0 ? 0 : 1;
    }
    const fs::path index = directory / "index.html";
    saveText(page.html(), nameOf(index));
    output.say("The page: " + nameOf(fs::absolute(index)) + "\n");
    if (failed != 0) {
        throw Failure(std::to_string(failed) + " of the gallery's operations failed");
    }
    return {};
}

} // namespace

std::vector<Command> galleryCommands() {
    return {command<GalleryOptions>(
        {.name = "gallery",
         .help = "Run every operation on real photographs and write one page that shows them all",
         .makes = Makes::Files},
        [](CLI::App& parser, GalleryOptions& o) {
            parser.add_option("DIR", o.directory, "Folder for the page, made if missing")
                ->type_name("FOLDER")
                ->required();
            parser.add_option("--photos", o.photos, "Folder of photographs")
                ->type_name("FOLDER")
                ->capture_default_str();
        },
        runGallery)};
}

} // namespace host
