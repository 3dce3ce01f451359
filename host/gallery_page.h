// The gallery's page: every operation that needs no camera, on real photographs. One HTML file that
// shows all by itself; the images of full size, which it links, are in folders beside it.
#pragma once

#include "host/command.h"

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace host {

// How an entry's commands went.
struct GalleryRun {
    int status = 0;      // exit status of the last one that ran
    double seconds = 0;  // of its commands
    std::string printed; // on standard output, of all
    std::string errors;  // on standard error, of all
};

class GalleryPage {
public:
    // The folder of the page. PHOTOS/ stands for photos/ in it, OUT/ for results/.
    explicit GalleryPage(std::filesystem::path folder);

    // The words with the folders in place.
    [[nodiscard]] std::vector<std::string> placed(const std::vector<std::string>& words) const;
    [[nodiscard]] std::string placed(const std::string& word) const;

    // Removes the files that the entry's commands make: those of an earlier run must not stand for
    // those of a failed operation.
    void removeOldResults(const GalleryEntry& entry) const;

    // In the pages that the entry's commands made, names files as from the page's folder, where a
    // reader runs the commands again. Throws Failure.
    void makePagesRelative(const GalleryEntry& entry) const;

    // Adds the entry with its images. Throws Failure if an image of an operation that was done
    // cannot be read.
    void add(const GalleryEntry& entry, const GalleryRun& run);

    // The whole page.
    [[nodiscard]] std::string html() const;

private:
    void addCommands(const GalleryEntry& entry);
    void addNumbers(const GalleryEntry& entry, const GalleryRun& run);
    void addImages(const GalleryEntry& entry, bool all);
    void addDivider(const std::string& before, const std::string& after);
    void addFigure(const std::string& role, const std::string& name, bool required);
    [[nodiscard]] std::string withoutFolders(std::string text) const;

    std::filesystem::path m_folder;
    std::ostringstream m_contents;
    std::ostringstream m_sections;
    int m_count = 0;
};

} // namespace host
