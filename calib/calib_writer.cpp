#include "calib_writer.h"

#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>

#include <cerrno>
#include <fstream>
#include <sstream>

namespace tarvix {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void raiseCannotWrite(const std::string& name) {
    cv::error(cv::Error::StsError, "Can't open file: '" + name + "' in write mode", "writeMatrix",
              __FILE__, __LINE__);
}

// Where the links lead. Empty when that is something other than a file, or can never be one.
fs::path writableTarget(const fs::path& path) {
    std::error_code error;
    fs::path target(path);
    for (int links = 0; fs::is_symlink(fs::symlink_status(target, error)); ++links) {
        const fs::path to = fs::read_symlink(target, error);
        if (error || links == 40) {
            return {};
        }
        target = target.parent_path() / to;
    }
    if (!target.has_filename()) { // a link to "name/"
        return {};
    }
    if (fs::exists(target, error)) {
        // Opened without touching it: a file that may not be written must not be replaced either.
        if (!fs::is_regular_file(target, error) ||
            !std::ofstream(target, std::ios::binary | std::ios::app)) {
            return {};
        }
    }
    return target;
}

// The name beside the target, as long as the target's own: where that fits, this does.
fs::path besideOf(const fs::path& target) {
    fs::path::string_type name = target.filename().native();
    name.back() = name.back() == '~' ? '-' : '~';
    return fs::path(target).replace_filename(name);
}

std::string documentOf(const char* key, const cv::Mat& matrix) {
    cv::FileStorage storage(".xml", cv::FileStorage::WRITE | cv::FileStorage::MEMORY |
                                        cv::FileStorage::FORMAT_XML);
    storage << key << matrix;
    return storage.releaseAndGetString();
}

// False when the file did not open or did not take everything, as on a full disk.
bool write(std::ofstream&& file, const std::string& bytes) {
    file << bytes;
    file.close();
    return !file.fail();
}

} // namespace

MatrixWriter::~MatrixWriter() {
    for (const Pending& one : m_pending) {
        try {
            if (one.isPlaced) {
                restore(one);
            } else if (one.isBeside) {
                fs::remove(one.beside);
            }
        } catch (const std::exception&) { // nothing more can be done
        }
    }
}

void MatrixWriter::add(const fs::path& file, const std::string& name, const char* key,
                       const cv::Mat& matrix) {
    Pending one;
    one.name = name;
    one.target = name.empty() ? fs::path() : writableTarget(file);
    if (one.target.empty()) {
        raiseCannotWrite(one.name);
    }
    one.beside = besideOf(one.target);
    // Through memory and as a text file: cv::FileStorage does not report a disk that fills up, and
    // takes what follows a question mark in a path for options.
    one.document = documentOf(key, matrix);
    std::error_code error;
    one.existed = fs::exists(one.target, error);
    if (one.existed) {
        const std::ifstream earlier(one.target, std::ios::binary);
        std::ostringstream bytes;
        bytes << earlier.rdbuf();
        if (!earlier.is_open() || bytes.bad()) {
            raiseCannotWrite(one.name);
        }
        one.earlier = bytes.str();
    }
    m_pending.push_back(std::move(one));
    Pending& added = m_pending.back();
    errno = 0;
    std::ofstream half(added.beside);
    if (half) {
        added.isBeside = true;
        if (!write(std::move(half), added.document)) {
            raiseCannotWrite(added.name);
        }
    } else if (!added.existed || (errno != EACCES && errno != EPERM && errno != EROFS)) {
        raiseCannotWrite(added.name);
    }
}

void MatrixWriter::commit() {
    for (Pending& one : m_pending) {
        std::error_code error;
        if (one.isBeside) {
            fs::rename(one.beside, one.target, error);
            one.isPlaced = !error;
        } else {
            one.isPlaced = true; // even if only in part
            if (!write(std::ofstream(one.target), one.document)) {
                error = std::make_error_code(std::errc::io_error);
            }
        }
        if (error) {
            raiseCannotWrite(one.name);
        }
    }
    m_pending.clear();
}

void MatrixWriter::restore(const Pending& one) {
    std::error_code ignored;
    if (!one.existed) {
        fs::remove(one.target, ignored);
    } else if (!one.isBeside) {
        write(std::ofstream(one.target, std::ios::binary), one.earlier);
    } else if (write(std::ofstream(one.beside, std::ios::binary), one.earlier)) {
        fs::rename(one.beside, one.target, ignored);
    } else {
        fs::remove(one.beside, ignored);
    }
}

} // namespace tarvix
