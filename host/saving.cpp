#include "host/saving.h"

#include "host/application.h"
#include "host/batch/digest.h"
#include "host/failure.h"
#include "host/file_bytes.h"
#include "platform/system/paths.h"
#include "platform/system/process_identity.h"

#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <functional>
#include <random>
#include <system_error>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

namespace {

[[noreturn]] void cannotWrite(const std::string& path, const std::string& reason) {
    throw Failure("cannot write '" + path + "'" + (reason.empty() ? "" : ": ") + reason);
}

// Why the system refused the last call.
std::string systemReason() {
    return std::generic_category().message(errno);
}

// Gives a finished file the name `path`, which may exist.
void moveTo(const fs::path& finished, const std::string& path) {
    std::error_code error;
    fs::rename(finished, pathOf(path), error);
    if (error) {
        cannotWrite(path, error.message());
    }
}

// What the names of this machine's half-written files begin with.
const std::string& halfOfMachine() {
    constexpr std::size_t digits = 8;
    static const std::string beginning =
        ".half-" + asText(digestOf(tarvix::machine())).substr(0, digits) + "-";
    return beginning;
}

// Lets `write` make a file beside the target and renames that. `write` says whether the file is
// whole.
void replaceFile(const std::string& path, const std::function<bool(const fs::path& half)>& write) {
    const fs::path half = pathOf(halfOf(path, tarvix::ownProcess()));
    try {
        bool whole = false;
        std::string reason = std::ofstream(half).good() ? "" : systemReason();
        try {
            whole = write(half);
        } catch (const cv::Exception& e) {
            reason = application().sentence(e.what());
        }
        if (!whole) {
            cannotWrite(path, reason.empty() ? "the disk may be full" : reason);
        }
        moveTo(half, path);
    } catch (...) {
        std::error_code ignored;
        fs::remove(half, ignored);
        throw;
    }
}

bool writeBytes(const fs::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    file.close();
    return file.good();
}

} // namespace

std::string halfOf(const std::string& path, std::uint64_t process) {
    constexpr std::size_t longest = 200; // the file system's limit is 255
    const fs::path target = pathOf(path);
    const fs::path name = target.filename();
    const fs::path::string_type& text = name.native();
    const std::size_t cut = text.size() > longest ? text.size() - longest : 0;
    fs::path half = target;
    half.replace_filename(fs::path(halfOfMachine() + std::to_string(process) + "-") +=
                          fs::path(text.substr(cut)));
    return nameOf(half);
}

void requireNoFolder(const std::string& path) {
    std::error_code ignored;
    if (fs::is_directory(pathOf(path), ignored)) {
        cannotWrite(path, "a folder has that name");
    }
}

void requireFolderOf(const std::string& path) {
    const fs::path target = pathOf(path);
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    std::error_code ignored;
    if (!fs::is_directory(folder, ignored)) {
        cannotWrite(path, "there is no folder '" + nameOf(folder) + "'");
    }
    requireNoFolder(path);
}

void requireWritable(const std::string& path) {
    requireFolderOf(path);
    requireImageFormat(path);
}

void requireImageFormat(const std::string& path) {
    if (!cv::haveImageWriter(path)) {
        const std::string extension = nameOf(pathOf(path).extension());
        cannotWrite(path, (extension.empty() ? "its name has no extension"
                                             : "'" + extension + "' is not an image format") +
                              "; use .png, .jpg, .bmp or .tif");
    }
}

namespace {

constexpr const char* noPixels = "the result has no pixels";

std::vector<int> parametersOf(const Saving& saving) {
    if (saving.quality <= 0) {
        return {};
    }
    return {cv::IMWRITE_JPEG_QUALITY, saving.quality, cv::IMWRITE_WEBP_QUALITY, saving.quality};
}

} // namespace

std::string encodeImage(const cv::Mat& image, const std::string& format, const Saving& saving,
                        std::vector<std::string>& leftOut) {
    if (image.empty()) {
        throw Failure(noPixels);
    }
    std::vector<unsigned char> bytes;
    if (!cv::imencode("." + format, image, bytes, parametersOf(saving))) {
        throw Failure("the image cannot be written as " + format);
    }
    const std::string file(bytes.begin(), bytes.end());
    return saving.metadata.empty() ? file
                                   : withMetadata(file, saving.metadata, image.size(), leftOut);
}

std::vector<std::string> saveImage(const cv::Mat& image, const std::string& path,
                                   const Saving& saving) {
    if (image.empty()) {
        cannotWrite(path, noPixels);
    }
    const std::vector<int> parameters = parametersOf(saving);
    std::vector<std::string> leftOut;
    replaceFile(path, [&](const fs::path& half) {
        if (!cv::imwrite(nameOf(half), image, parameters)) {
            return false;
        }
        if (!saving.metadata.empty()) {
            const std::string bytes = bytesOfFile(half);
            if (bytes.empty() ||
                !writeBytes(half, withMetadata(bytes, saving.metadata, image.size(), leftOut))) {
                return false;
            }
        }
        // imwrite does not report a disk that filled up; an image that can be read back is whole.
        return !cv::imread(nameOf(half), cv::IMREAD_UNCHANGED).empty();
    });
    return leftOut;
}

void removeHalf(const std::string& path, std::uint64_t process) {
    std::error_code ignored;
    fs::remove(pathOf(halfOf(path, process)), ignored);
}

void removeHalvesIn(const std::string& folder) {
    const std::string& ours = halfOfMachine();
    std::error_code error;
    for (fs::directory_iterator entry(folder.empty() ? fs::path(".") : pathOf(folder), error), end;
         !error && entry != end; entry.increment(error)) {
        const std::string name = nameOf(entry->path().filename());
        const std::size_t number = ours.size();
        const std::size_t dash = name.find('-', std::min(number, name.size()));
        std::uint64_t process = 0;
        if (name.starts_with(ours) && dash != std::string::npos &&
            std::from_chars(name.data() + number, name.data() + dash, process).ptr ==
                name.data() + dash &&
            !tarvix::isRunning(process)) {
            std::error_code ignored;
            fs::remove(entry->path(), ignored);
        }
    }
}

void saveText(const std::string& text, const std::string& path) {
    replaceFile(path, [&](const fs::path& half) { return writeBytes(half, text); });
}

void makeFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(pathOf(folder), error);
    if (error) {
        throw Failure("cannot make the folder '" + folder + "': " + error.message());
    }
}

WorkFolder::WorkFolder(const fs::path& parent) {
    std::error_code error;
    fs::create_directories(parent.empty() ? fs::path(".") : parent, error);
    std::random_device random;
    m_path = parent / (".half-" + std::to_string(random()));
    if (!fs::create_directory(m_path, error)) {
        throw Failure("cannot write into the folder '" + nameOf(parent) + "'");
    }
}

WorkFolder::~WorkFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

void WorkFolder::moveOut(const std::string& name, const std::string& path) const {
    moveTo(m_path / name, path);
}

} // namespace host
