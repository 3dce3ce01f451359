// What a worker's process does for the workbench beside running command lines: images that are only
// to be looked at, and the sizes of those that were written. For one thread.
#pragma once

#include <opencv2/core/mat.hpp>

#include <string>
#include <vector>

namespace host {

// From now on, the image of a result is a draft: written as JPEG, quickly, without metadata.
void useDrafts(bool use);
bool drafts();

// Writes a draft, as JPEG whatever the name says. It is not read back. Throws Failure if it cannot
// be written.
void saveDraft(const cv::Mat& image, const std::string& path);

struct WrittenImage {
    std::string path;
    cv::Size size;
};

// Notes an image that was written; and gives those that were noted since the last call.
void noteWritten(const std::string& path, const cv::Mat& image);
std::vector<WrittenImage> takeWritten();

} // namespace host
