#include "calib_files.h"

#include "document_check.h"

#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>

#include <fstream>

namespace tarvix {

namespace {

// OpenCV's own text for its error code, with the file's name.
[[noreturn]] void raise(int code, const std::string& text, const char* function) {
    cv::error(code, text, function, __FILE__, __LINE__);
}

[[noreturn]] void raiseParseError(const std::string& name) {
    raise(cv::Error::StsParseError, "'" + name + "'", "readMatrix");
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

std::string slurp(const std::filesystem::path& source, const std::string& name) {
    namespace fs = std::filesystem;
    std::error_code error;
    const bool isFile = fs::is_regular_file(source, error);
    const std::uintmax_t size = isFile ? fs::file_size(source, error) : 0;
    if (!isFile || error || size > largestDocument) {
        raiseParseError(name);
    }
    std::ifstream file(source, std::ios::binary);
    std::string text(static_cast<std::size_t>(size) + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (file.bad() || !file.eof()) { // unreadable, or grown since
        raiseParseError(name);
    }
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
}

} // namespace

cv::Mat parseMatrix(const std::string& document, const std::string& name, const char* key) {
    if (!isSoundDocument(document)) {
        raiseParseError(name);
    }
    try {
        // From memory, so that what was checked is what is read.
        const cv::FileStorage storage(document, cv::FileStorage::READ | cv::FileStorage::MEMORY);
        const cv::FileNode node = storage[key];
        if (!node.empty() && !isPlainMatrix(node)) {
            raiseParseError(name);
        }
        cv::Mat matrix;
        cv::read(node, matrix, cv::Mat());
        return matrix;
    } catch (const cv::Exception&) {
        throw;
    } catch (const std::exception&) { // the reader's own containers refused something
        raiseParseError(name);
    }
}

cv::Mat readMatrix(const std::filesystem::path& file, const std::string& name, const char* key) {
    std::error_code error;
    if (!std::filesystem::exists(file, error)) {
        return {};
    }
    return parseMatrix(slurp(file, name), name, key);
}

void refuseEmpty(const cv::Mat& matrix, const CalibFile& file) {
    if (matrix.empty()) {
        raise(cv::Error::StsAssert, "!" + std::string(file.key) + ".empty()", "readMatrix");
    }
}

} // namespace tarvix
