// How the host writes to disk. A file is only replaced once the new one is whole; what was begun
// and not finished is removed.
#pragma once

#include "host/containers.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace host {

// How an image is written.
struct Saving {
    int quality = 0;     // of JPEG and WebP, 1 to 100; 0: as OpenCV chooses
    Metadata metadata{}; // goes into the file
};

// Writes an image in the format that the name's extension asks for. Returns what of the metadata
// the format cannot hold, such as "XMP". Throws Failure if the image is empty, the format unknown
// or the file cannot be written; an existing file is then unchanged.
std::vector<std::string> saveImage(const cv::Mat& image, const std::string& path,
                                   const Saving& saving = {});

// The bytes of the file that saveImage() would write with the extension `.format`.
std::string encodeImage(const cv::Mat& image, const std::string& format, const Saving& saving,
                        std::vector<std::string>& leftOut);

// Throws Failure if a folder has the file's name.
void requireNoFolder(const std::string& path);

// Throws Failure, with the reason, if the file's folder is missing or a folder has its name.
void requireFolderOf(const std::string& path);

// Throws Failure, with the reason, if no image can be written there: the folder is missing, a
// folder has that name, or the extension is not a format that can be written.
void requireWritable(const std::string& path);

// Throws Failure if the extension is not a format that can be written.
void requireImageFormat(const std::string& path);

// Where a process of this machine writes the file until it is whole: beside it, and where no other
// process does.
std::string halfOf(const std::string& path, std::uint64_t process);

// Removes what a process of this machine that was ended in the middle may have left of writing
// that file.
void removeHalf(const std::string& path, std::uint64_t process);

// Removes what processes of this machine that have ended left in the folder.
void removeHalvesIn(const std::string& folder);

// Writes the text as it is. Throws Failure if it cannot; an existing file is then unchanged.
void saveText(const std::string& text, const std::string& path);

// Makes the folder and those above it, if they are missing. Throws Failure.
void makeFolder(const std::string& folder);

// A folder of its own inside another one, for files of a call that may fail halfway. Removed with
// what is left in it.
class WorkFolder {
public:
    // Makes `parent` if it is missing. Throws Failure if nothing can be written into it.
    explicit WorkFolder(const std::filesystem::path& parent);
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    [[nodiscard]] std::filesystem::path operator/(const std::string& name) const {
        return m_path / name;
    }
    // Moves the file of that name to `path`, in the same file system. Throws Failure.
    void moveOut(const std::string& name, const std::string& path) const;

private:
    std::filesystem::path m_path;
};

} // namespace host
