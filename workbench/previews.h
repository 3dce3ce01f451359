// Reduced copies of images: JPEG files for the page, and lossless ones that operations run on. They
// are made by workers and kept, as long as there is room.
#pragma once

#include "workbench/engine.h"

#include <opencv2/core/types.hpp>

#include <deque>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>

namespace workbench {

struct Preview {
    std::filesystem::path path;
    cv::Size image; // size of the image itself, upright
    cv::Size copy;
};

// The image cannot be read; what() is a sentence.
struct NoPreview : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Any thread may call its functions.
class Previews {
public:
    enum class Use { Thumbnail, Show, RunOn };

    // The folder must exist and is the object's own.
    Previews(Engine& engine, std::filesystem::path folder)
        : m_engine(engine), m_folder(std::move(folder)) {}

    // A copy with at most so many pixels; for thumbnails, with at most so many a side. Throws
    // NoPreview and Busy.
    //   gone  may ask for a stop: nobody waits for the copy any more
    Preview of(const std::filesystem::path& image, Use use, std::uint64_t pixels,
               const std::stop_token& gone = {});

private:
    struct Store {
        std::map<std::string, Preview> made; // by key
        std::deque<std::string> order;       // of keys, the oldest first
    };
    Store& storeOf(Use use);

    Engine& m_engine;
    const std::filesystem::path m_folder;
    std::mutex m_mutex; // guards the rest
    std::uint64_t m_last = 0;
    Store m_thumbnails;
    Store m_shown;
    Store m_copies;
};

} // namespace workbench
