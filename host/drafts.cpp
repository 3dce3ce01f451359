#include "host/drafts.h"

#include "host/failure.h"
#include "host/saving.h"
#include "platform/system/paths.h"

#include <fstream>
#include <utility>

namespace host {

namespace {

bool isUsed = false;
std::vector<WrittenImage> written;

} // namespace

void useDrafts(bool use) {
    isUsed = use;
}

bool drafts() {
    return isUsed;
}

void saveDraft(const cv::Mat& image, const std::string& path) {
    constexpr int quality = 80;
    std::vector<std::string> ignored;
    const std::string bytes = encodeImage(image, "jpg", {.quality = quality}, ignored);
    std::ofstream file(tarvix::pathOf(path), std::ios::binary);
    file << bytes;
    file.close();
    if (!file.good()) {
        throw Failure("cannot write '" + path + "': the disk may be full");
    }
}

void noteWritten(const std::string& path, const cv::Mat& image) {
    constexpr std::size_t most = 10000; // of a set of images; nobody may take them
    if (written.size() < most) {
        written.push_back({path, image.size()});
    }
}

std::vector<WrittenImage> takeWritten() {
    return std::exchange(written, {});
}

} // namespace host
