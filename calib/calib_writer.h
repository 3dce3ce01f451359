// Writes calibration files so that a failure leaves the earlier ones.
#pragma once

#include <common/file_set.h>
#include <opencv2/core/mat.hpp>

#include <filesystem>
#include <memory>
#include <string>

namespace tarvix {

// Writes matrices, each into a file of its own, existing files replaced. What is added up to a
// commit() is replaced together; common/file_set.h says how, and what holds after a crash.
//
// From the first add() until it is destroyed, it keeps other writers out of the folder: the files
// of two calibrations that end at the same time are not mixed.
//
// Numbers are written by OpenCV, which needs a decimal point that is '.' or ',': the caller sees to
// that.
//
// Both calls throw cv::Exception if a file cannot be written, with the reason.
class MatrixWriter {
public:
    explicit MatrixWriter(FileSystem& system); // which must outlive it

    // `name` is the file as the host wrote it, for messages.
    void add(const std::filesystem::path& file, const std::string& name, const char* key,
             const cv::Mat& matrix);
    void commit();

private:
    FileSystem& m_system;
    bool m_hasTriedLock = false;
    std::unique_ptr<FolderLock> m_lock;
    FileSet m_files;
};

} // namespace tarvix
