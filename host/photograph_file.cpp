#include "host/photograph_file.h"

#include "host/file_bytes.h"
#include "host/image_cache.h"
#include "host/piped_images.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <array>
#include <utility>

namespace host {

namespace {

// An EXIF block with nothing but an orientation.
std::string blockTurned(int orientation) {
    std::string block("II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0 \0\0\0\0\0\0\0", 26);
    block[18] = static_cast<char>(orientation);
    return block;
}

const char* extensionOf(Container container) {
    switch (container) {
    case Container::Jpeg:
        return ".jpg";
    case Container::Png:
        return ".png";
    case Container::Webp:
        return ".webp";
    case Container::Tiff:
        return ".tif";
    case Container::Other:
        break;
    }
    return nullptr;
}

// Four blocks of different grey, one of them per corner, so that each orientation differs.
cv::Mat probe() {
    cv::Mat image(32, 16, CV_8UC3, cv::Scalar::all(0));
    image(cv::Rect(8, 0, 8, 16)) = cv::Scalar::all(80);
    image(cv::Rect(0, 16, 8, 16)) = cv::Scalar::all(160);
    image(cv::Rect(8, 16, 8, 16)) = cv::Scalar::all(240);
    return image;
}

bool tryDecoder(Container container, int orientation) {
    const char* extension = extensionOf(container);
    if (extension == nullptr || !cv::haveImageWriter(std::string("probe") + extension)) {
        return true; // then such files are not read, either
    }
    std::vector<unsigned char> encoded;
    cv::imencode(extension, probe(), encoded);
    std::vector<std::string> ignored;
    const std::string file =
        withMetadata(std::string(encoded.begin(), encoded.end()),
                     {.exif = blockTurned(orientation)}, probe().size(), ignored);
    const std::vector<unsigned char> bytes(file.begin(), file.end());
    const cv::Mat read = cv::imdecode(bytes, cv::IMREAD_COLOR);
    // As it is stored: the decoder did not turn it.
    constexpr double compressionNoise = 8;
    return read.size() != probe().size() ||
           cv::norm(read, probe(), cv::NORM_INF) > compressionNoise;
}

} // namespace

PhotographFile readPhotographFile(const std::string& name) {
    const std::string path = PipedImages::fileBehind(name);
    if (auto kept = keptImage(path)) {
        return std::move(kept->file);
    }
    const std::string bytes = bytesOfFile(tarvix::pathOf(path));
    PhotographFile file{.container = containerOf(bytes),
                        .metadata = metadataOf(bytes),
                        .bits = bitsPerSample(bytes)};
    file.exif = tarvix::exifFacts(file.metadata.exif);
    return file;
}

Metadata metadataFor(const PhotographFile& file, const cv::Mat& image, bool sameView) {
    constexpr std::size_t spaceAt = 16; // of the colour space's name in a profile
    Metadata metadata = file.metadata;
    metadata.exif = tarvix::uprightExif(metadata.exif, image.size(), sameView);
    metadata.xmp = tarvix::uprightXmp(metadata.xmp, image.size());
    const char* space = image.channels() == 1 ? "GRAY" : "RGB ";
    if (metadata.icc.size() < spaceAt + 4 || metadata.icc.compare(spaceAt, 4, space) != 0) {
        metadata.icc.clear();
    }
    return metadata;
}

cv::Mat upright(const cv::Mat& image, int orientation) {
    cv::Mat turned = image;
    if (orientation >= 5) { // rows are columns
        cv::transpose(image, turned);
    }
    // What is left of each is a flip about x (0), about y (1) or about both (-1).
    constexpr int none = 2;
    constexpr std::array<int, 9> flips = {none, none, 1, -1, 0, none, 1, -1, 0};
    const int flip = flips.at(static_cast<std::size_t>(std::clamp(orientation, 1, 8)));
    if (flip != none) {
        cv::Mat flipped;
        cv::flip(turned, flipped, flip);
        turned = flipped;
    }
    return turned;
}

bool decoderTurns(const PhotographFile& file) {
    const int orientation = file.exif.orientation;
    return orientation == 1 ||
           (!file.metadata.exifAsText && tryDecoder(file.container, orientation));
}

} // namespace host
