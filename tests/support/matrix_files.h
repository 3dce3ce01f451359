// Files that hold one matrix, written and read straight by OpenCV.
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/persistence.hpp>

#include <string>

namespace test {

// The matrix under `key`; empty if there is none.
inline cv::Mat stored(const std::string& path, const std::string& key) {
    const cv::FileStorage storage(path, cv::FileStorage::READ);
    cv::Mat m;
    storage[key] >> m;
    return m;
}

inline void store(const std::string& path, const std::string& key, const cv::Mat& m) {
    cv::FileStorage storage(path, cv::FileStorage::WRITE);
    storage << key << m;
}

} // namespace test
