#include "calib/calib_files.h"

#include "bridge/guard.h"
#include "calib/document_check.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <windows.h>

#include <shlwapi.h> // after windows.h

namespace tarvix {

namespace {

namespace fs = std::filesystem;

// OpenCV's own text for its error code, with the file's name.
[[noreturn]] void raise(int code, const std::string& text, const char* function) {
    cv::error(code, text, function, __FILE__, __LINE__);
}

[[noreturn]] void raiseParseError(const std::string& path) {
    raise(cv::Error::StsParseError, "'" + path + "'", "readMatrix");
}

[[noreturn]] void raiseCannotWrite(const std::string& path) {
    raise(cv::Error::StsError, "Can't open file: '" + path + "' in write mode", "writeMatrix");
}

bool isNumber(const cv::FileNode& node) {
    return node.isInt() || node.isReal();
}

// A plain matrix whose data has exactly as many numbers as its shape asks for. OpenCV would copy
// the sizes of an n-dimensional matrix into an array of 32 without counting them, and allocate
// before it looks at the data.
bool isPlainMatrix(const cv::FileNode& node) {
    if (!node.isMap()) {
        return false;
    }
    const cv::FileNode rows = node["rows"];
    const cv::FileNode cols = node["cols"];
    const cv::FileNode type = node["dt"];
    const cv::FileNode data = node["data"];
    if (!rows.isInt() || !cols.isInt() || !type.isString() || type.string().size() != 1 ||
        (!data.isSeq() && !isNumber(data))) {
        return false;
    }
    const int r = static_cast<int>(rows);
    const int c = static_cast<int>(cols);
    constexpr int mostNumbers = static_cast<int>(largestDocument);
    if (r < 1 || c < 1 || r > mostNumbers || c > mostNumbers ||
        static_cast<std::size_t>(r) * static_cast<std::size_t>(c) != data.size()) {
        return false;
    }
    if (data.isSeq()) {
        for (const cv::FileNode& number : data) {
            if (!isNumber(number)) {
                return false;
            }
        }
    }
    return true;
}

std::string slurp(const std::string& path) {
    std::error_code error;
    const fs::path source = pathOf(path);
    const bool isFile = fs::is_regular_file(source, error);
    const std::uintmax_t size = isFile ? fs::file_size(source, error) : 0;
    if (!isFile || error || size > largestDocument) {
        raiseParseError(path);
    }
    std::ifstream file(source, std::ios::binary);
    std::string text(static_cast<std::size_t>(size) + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (file.bad() || !file.eof()) { // unreadable, or grown since
        raiseParseError(path);
    }
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
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

std::string pathIn(const char* folder, const CalibFile& file) {
    std::array<char, MAX_PATH> path{};
    PathCombineA(path.data(), folder, file.name);
    return path.data();
}

cv::Mat parseMatrix(const std::string& document, const std::string& path, const char* key) {
    if (!isSoundDocument(document)) {
        raiseParseError(path);
    }
    try {
        // From memory, so that what was checked is what is read.
        const cv::FileStorage storage(document, cv::FileStorage::READ | cv::FileStorage::MEMORY);
        const cv::FileNode node = storage[key];
        if (!node.empty() && !isPlainMatrix(node)) {
            raiseParseError(path);
        }
        cv::Mat matrix;
        cv::read(node, matrix, cv::Mat());
        return matrix;
    } catch (const cv::Exception&) {
        throw;
    } catch (const std::exception&) { // the reader's own containers refused something
        raiseParseError(path);
    }
}

cv::Mat readMatrix(const std::string& path, const char* key) {
    std::error_code error;
    if (!fs::exists(pathOf(path), error)) {
        return {};
    }
    return parseMatrix(slurp(path), path, key);
}

cv::Mat needMatrix(const char* folder, const CalibFile& file) {
    const std::string path = pathIn(folder, file);
    if (PathFileExistsA(path.c_str()) == FALSE) {
        failSilently();
    }
    return readMatrix(path, file.key);
}

void refuseEmpty(const cv::Mat& matrix, const CalibFile& file) {
    if (matrix.empty()) {
        raise(cv::Error::StsAssert, "!" + std::string(file.key) + ".empty()", "readMatrix");
    }
}

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

void MatrixWriter::add(const char* folder, const CalibFile& file, const cv::Mat& matrix) {
    Pending one;
    one.name = pathIn(folder, file);
    one.target = one.name.empty() ? fs::path() : writableTarget(pathOf(one.name));
    if (one.target.empty()) {
        raiseCannotWrite(one.name);
    }
    one.beside = besideOf(one.target);
    // Through memory and as a text file: cv::FileStorage does not report a disk that fills up, and
    // takes what follows a question mark in a path for options.
    one.document = documentOf(file.key, matrix);
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
