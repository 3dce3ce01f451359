// tarvix gallery DIR: runs every operation that has an entry in the gallery and writes its page.
#include "host/commands.h"
#include "host/failure.h"
#include "host/gallery_page.h"
#include "host/run_command.h"
#include "host/saving.h"
#include "platform/system/paths.h"

#include <chrono>
#include <filesystem>
#include <iomanip>
#include <iostream>
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

// What a command prints is for a terminal of its own, not for the gallery's list of steps.
int runQuietly(const std::vector<std::string>& words) {
    std::ostringstream unread;
    Output output(unread, std::cerr);
    return runCommand(words, output);
}

// Runs the entry's commands, puts it on the page, and says how it went. Returns the exit status.
int show(const GalleryEntry& entry, GalleryPage& page, Output& output) {
    int status = 0;
    for (std::size_t k = 0; status == 0 && k < entry.prepare.size(); ++k) {
        status = runQuietly(page.placed(entry.prepare[k]));
    }
    const auto start = std::chrono::steady_clock::now();
    if (status == 0) {
        status = runQuietly(page.placed(entry.command));
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::ostringstream line;
    line << (status == 0 ? "" : "FAILED ") << std::fixed << std::setprecision(2) << took.count()
         << " s\n";
    output.say(line.str());
    page.add(entry, status, took.count());
    return status;
}

Result runGallery(const GalleryOptions& o, Output& output) {
    const fs::path directory = pathOf(o.directory);
    std::error_code error;
    if (!fs::is_directory(pathOf(o.photos), error)) {
        throw Failure("no folder of photographs at '" + o.photos +
                      "'; the package opencv-doc brings it, or give --photos");
    }
    const fs::path results = directory / "results";
    makeFolder(nameOf(results));
    std::vector<GalleryEntry> entries;
    for (const Command& command : commands()) {
        entries.insert(entries.end(), command.gallery.begin(), command.gallery.end());
    }
    GalleryPage page(pathOf(o.photos), results);
    for (const GalleryEntry& entry : entries) {
        page.removeOldResults(entry);
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
                ->required();
            parser.add_option("--photos", o.photos, "Folder of photographs")->capture_default_str();
        },
        runGallery)};
}

} // namespace host
