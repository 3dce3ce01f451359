// The gallery's page: every operation on real photographs, as one self-contained HTML file.
#pragma once

#include "host/command.h"

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace host {

class GalleryPage {
public:
    // The folders that PHOTOS/ and OUT/ stand for.
    GalleryPage(std::filesystem::path photos, std::filesystem::path out);

    // The words with the folders in place.
    [[nodiscard]] std::vector<std::string> placed(const std::vector<std::string>& words) const;

    // Removes the images that the entry's commands make: those of an earlier run must not stand for
    // those of a failed operation.
    void removeOldResults(const GalleryEntry& entry) const;

    // Adds the entry with its images. `status` is that of its commands. Throws Failure if an image
    // of an operation that was done cannot be read.
    void add(const GalleryEntry& entry, int status, double seconds);

    // The whole page.
    [[nodiscard]] std::string html() const;

private:
    [[nodiscard]] std::string place(const std::string& word) const;
    void addImages(const std::string& role, const std::vector<std::string>& names, bool all);

    std::filesystem::path m_photos;
    std::filesystem::path m_out;
    std::ostringstream m_sections;
};

} // namespace host
