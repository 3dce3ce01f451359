#include "calib_writer.h"

#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>

namespace tarvix {

namespace {

// OpenCV's own text for a file that cannot be opened, with the reason.
[[noreturn]] void raise(const FileError& e) {
    const std::string file = "'" + e.name() + "'";
    cv::error(cv::Error::StsError,
              (isLackOfSpace(e.code()) ? "Can't write file: " + file
                                       : "Can't open file: " + file + " in write mode") +
                  ": " + reasonOf(e.code()),
              "writeMatrix", __FILE__, __LINE__);
}

// What cv::FileStorage would write into a file. It does so in memory, because it does not report a
// disk that fills up, and takes what follows a question mark in a path for options.
std::string documentOf(const char* key, const cv::Mat& matrix, std::string_view lineEnd) {
    cv::FileStorage storage(".xml", cv::FileStorage::WRITE | cv::FileStorage::MEMORY |
                                        cv::FileStorage::FORMAT_XML);
    storage << key << matrix;
    std::string document;
    for (const char c : storage.releaseAndGetString()) {
        document += c == '\n' ? lineEnd : std::string_view(&c, 1);
    }
    return document;
}

} // namespace

MatrixWriter::MatrixWriter(FileSystem& system) : m_system(system), m_files(system) {}

void MatrixWriter::add(const std::filesystem::path& file, const std::string& name, const char* key,
                       const cv::Mat& matrix) {
    try {
        if (name.empty()) { // the path did not fit
            throw FileError(name, make_error_code(std::errc::filename_too_long));
        }
        if (!m_hasTriedLock) {
            m_hasTriedLock = true;
            m_lock = m_system.lockFolder(file.parent_path(), Access::Exclusive);
        }
        m_files.add(file, name, documentOf(key, matrix, m_system.lineEnd()));
    } catch (const FileError& e) {
        raise(e);
    }
}

void MatrixWriter::commit() {
    try {
        m_files.commit();
    } catch (const FileError& e) {
        raise(e);
    }
}

} // namespace tarvix
