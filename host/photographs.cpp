#include "host/photographs.h"

#include "host/batch/pattern.h"
#include "host/failure.h"
#include "host/images.h"
#include "platform/system/paths.h"

#include <algorithm>
#include <filesystem>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

namespace {

std::vector<std::string> imagesIn(const std::string& folder) {
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(pathOf(folder))) {
        if (entry.is_regular_file() && isImageName(entry.path())) {
            files.push_back(nameOf(entry.path()));
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        throw Failure("no images in the folder '" + folder + "'");
    }
    return files;
}

bool isThere(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

} // namespace

bool isFolder(const std::string& path) {
    std::error_code ignored;
    return fs::is_directory(pathOf(path), ignored);
}

std::vector<std::string> photographsOf(const std::vector<std::string>& filesAndFolders) {
    std::vector<std::string> files;
    for (const std::string& name : filesAndFolders) {
        if (isFolder(name)) {
            const std::vector<std::string> inside = imagesIn(name);
            files.insert(files.end(), inside.begin(), inside.end());
        } else {
            files.push_back(name);
        }
    }
    return files;
}

std::vector<std::string> pairsIn(const std::string& folder) {
    std::vector<std::string> files;
    for (const std::string& file : imagesIn(folder)) {
        const fs::path left = pathOf(file);
        std::string name = nameOf(left.filename());
        const std::size_t at = name.find("left");
        if (at == std::string::npos) {
            continue;
        }
        const fs::path right =
            fs::path(left).replace_filename(pathOf(name.replace(at, 4, "right")));
        if (isThere(right)) {
            files.push_back(file);
            files.push_back(nameOf(right));
        }
    }
    if (files.empty()) {
        throw Failure("no pairs named left..., right... in the folder '" + folder + "'");
    }
    return files;
}

void requireFiles(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        if (!isThere(pathOf(file))) {
            throw Failure("no such file: '" + file + "'");
        }
    }
}

void requireImages(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        loadImage(file, false);
    }
}

void addTo(CStringArray& list, const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        list.Add(file.c_str());
    }
}

} // namespace host
