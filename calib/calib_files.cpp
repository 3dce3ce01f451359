#include "calib/calib_files.h"

#include "bridge/guard.h"
#include "calib/document_check.h"

#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>

#include <filesystem>
#include <fstream>

#include <windows.h>

#include <shlwapi.h> // after windows.h

namespace tarvix {

namespace {

namespace fs = std::filesystem;

// OpenCV's own text for its error code, with the file's name. CV_Error would add the path of this
// source on the machine that built it.
[[noreturn]] void raise(int code, const std::string& text, const char* function) {
    cv::error(code, text, function, "calib_files.cpp", __LINE__);
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
    const bool isFile = fs::is_regular_file(path, error);
    const std::uintmax_t size = isFile ? fs::file_size(path, error) : 0;
    if (!isFile || error || size > largestDocument) {
        raiseParseError(path);
    }
    std::ifstream file(path, std::ios::binary);
    std::string text(static_cast<std::size_t>(size) + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (file.bad() || !file.eof()) { // unreadable, or grown since
        raiseParseError(path);
    }
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
}

// Where the links lead. Empty when that is something other than a file or nothing.
std::string writableTarget(const std::string& path) {
    std::error_code error;
    fs::path target(path);
    for (int links = 0; fs::is_symlink(fs::symlink_status(target, error)); ++links) {
        const fs::path to = fs::read_symlink(target, error);
        if (error || links == 40) {
            return {};
        }
        target = target.parent_path() / to;
    }
    if (fs::exists(target, error)) {
        // Opened without touching it: a file that may not be written must not be replaced either.
        if (!fs::is_regular_file(target, error) ||
            !std::ofstream(target, std::ios::binary | std::ios::app)) {
            return {};
        }
    }
    return target.string();
}

std::string documentOf(const char* key, const cv::Mat& matrix) {
    cv::FileStorage storage(".xml", cv::FileStorage::WRITE | cv::FileStorage::MEMORY |
                                        cv::FileStorage::FORMAT_XML);
    storage << key << matrix;
    return storage.releaseAndGetString();
}

// False when the file cannot be opened.
bool writeDocument(const std::string& path, const std::string& document) {
    std::ofstream file(path); // a text file, with the system's own line ends
    if (!file) {
        return false;
    }
    file << document;
    file.close();
    if (!file) { // a full disk
        raiseCannotWrite(path);
    }
    return true;
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
    if (!fs::exists(path, error)) {
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
    std::error_code ignored;
    for (const Pending& one : m_pending) {
        if (!one.half.empty()) {
            fs::remove(one.half, ignored);
        }
    }
}

void MatrixWriter::add(const char* folder, const CalibFile& file, const cv::Mat& matrix) {
    const std::string path = pathIn(folder, file);
    const std::string target = path.empty() ? path : writableTarget(path);
    if (target.empty()) {
        raiseCannotWrite(path);
    }
    const fs::path half =
        fs::path(target).replace_filename(".half-" + fs::path(target).filename().string());
    // Through memory: cv::FileStorage does not report a disk that fills up, and takes what follows
    // a question mark in a path for options.
    const std::string document = documentOf(file.key, matrix);
    m_pending.push_back({target, half.string()});
    if (!writeDocument(half.string(), document)) {
        m_pending.back().half.clear();
        std::error_code error;
        if (!fs::exists(target, error) || !writeDocument(target, document)) {
            raiseCannotWrite(path);
        }
    }
}

void MatrixWriter::commit() {
    for (Pending& one : m_pending) {
        if (one.half.empty()) {
            continue;
        }
        std::error_code error;
        fs::rename(one.half, one.target, error);
        if (error) {
            raiseCannotWrite(one.target);
        }
        one.half.clear();
    }
    m_pending.clear();
}

} // namespace tarvix
