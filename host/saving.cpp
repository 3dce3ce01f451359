#include "host/saving.h"

#include "host/failure.h"
#include "platform/system/paths.h"

#include <opencv2/imgcodecs.hpp>

#include <fstream>
#include <functional>
#include <iterator>
#include <random>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

namespace {

[[noreturn]] void cannotWrite(const std::string& path, const std::string& reason) {
    throw Failure("cannot write '" + path + "'" + (reason.empty() ? "" : ": ") + reason);
}

// Gives a finished file the name `path`, which may exist.
void moveTo(const fs::path& finished, const std::string& path) {
    std::error_code error;
    fs::rename(finished, pathOf(path), error);
    if (error) {
        cannotWrite(path, error.message());
    }
}

// Lets `write` make a file beside the target and renames that. `write` says whether the file is
// whole.
void replaceFile(const std::string& path, const std::function<bool(const fs::path& half)>& write) {
    const fs::path target = pathOf(path);
    fs::path half = target;
    half.replace_filename(fs::path(".half-") += target.filename());
    try {
        bool whole = false;
        std::string reason;
        try {
            whole = write(half);
        } catch (const cv::Exception& e) {
            reason = e.what();
        }
        if (!whole) {
            cannotWrite(path, reason);
        }
        moveTo(half, path);
    } catch (...) {
        std::error_code ignored;
        fs::remove(half, ignored);
        throw;
    }
}

std::string bytesOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool writeBytes(const fs::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    file.close();
    return file.good();
}

} // namespace

std::vector<std::string> saveImage(const cv::Mat& image, const std::string& path,
                                   const Saving& saving) {
    std::vector<int> parameters;
    if (saving.quality > 0) {
        parameters = {cv::IMWRITE_JPEG_QUALITY, saving.quality, cv::IMWRITE_WEBP_QUALITY,
                      saving.quality};
    }
    std::vector<std::string> leftOut;
    replaceFile(path, [&](const fs::path& half) {
        if (image.empty() || !cv::imwrite(nameOf(half), image, parameters)) {
            return false;
        }
        if (!saving.metadata.empty()) {
            const std::string whole =
                withMetadata(bytesOf(half), saving.metadata, image.size(), leftOut);
            if (!writeBytes(half, whole)) {
                return false;
            }
        }
        // imwrite does not report a disk that filled up; an image that can be read back is whole.
        return !cv::imread(nameOf(half), cv::IMREAD_UNCHANGED).empty();
    });
    return leftOut;
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
