#include "host/containers.h"

#include "assist/exif.h"
#include "assist/tiff_bytes.h"

#include <algorithm>

namespace host {

namespace {

bool startsWith(const std::string& bytes, const std::string& what) {
    return bytes.compare(0, what.size(), what) == 0;
}

// The largest value of a PNM file's samples, after "P5 width height", with comments between.
int largestOfPnm(const std::string& bytes) {
    std::vector<int> numbers;
    std::size_t at = 2;
    while (numbers.size() < 3 && at < bytes.size() && at < 4096) {
        if (bytes[at] == '#') {
            at = std::min(bytes.find('\n', at), bytes.size());
        } else if (bytes[at] >= '0' && bytes[at] <= '9') {
            int number = 0;
            for (; at < bytes.size() && bytes[at] >= '0' && bytes[at] <= '9'; ++at) {
                number = std::min(number * 10 + (bytes[at] - '0'), 1000000);
            }
            numbers.push_back(number);
        } else {
            ++at;
        }
    }
    return numbers.size() == 3 ? numbers[2] : 255;
}

} // namespace

Container containerOf(const std::string& bytes) {
    if (startsWith(bytes, "\xFF\xD8\xFF")) {
        return Container::Jpeg;
    }
    if (startsWith(bytes, "\x89PNG\r\n\x1A\n")) {
        return Container::Png;
    }
    if (startsWith(bytes, "RIFF") && bytes.compare(8, 4, "WEBP") == 0) {
        return Container::Webp;
    }
    return tarvix::isExif(bytes) ? Container::Tiff : Container::Other;
}

Metadata metadataOf(const std::string& bytes) {
    switch (containerOf(bytes)) {
    case Container::Jpeg:
        return jpegMetadata(bytes);
    case Container::Png:
        return pngMetadata(bytes);
    case Container::Webp:
        return webpMetadata(bytes);
    case Container::Tiff:
        return tiffMetadata(bytes);
    case Container::Other:
        break;
    }
    return {};
}

std::string withMetadata(const std::string& file, const Metadata& metadata, cv::Size image,
                         std::vector<std::string>& leftOut) {
    const Container container = containerOf(file);
    if (!metadata.jpegSegments.empty() && container != Container::Jpeg) {
        leftOut.emplace_back("IPTC or extended XMP");
    }
    switch (container) {
    case Container::Jpeg:
        return jpegWith(file, metadata, leftOut);
    case Container::Png:
        return pngWith(file, metadata);
    case Container::Webp:
        return webpWith(file, metadata, image);
    case Container::Tiff:
        return tiffWith(file, metadata, leftOut);
    case Container::Other:
        break;
    }
    if (!metadata.empty()) {
        leftOut.emplace_back("EXIF, XMP and the colour profile");
    }
    return file;
}

int bitsPerSample(const std::string& bytes) {
    constexpr std::size_t pngDepthAt = 24;
    switch (containerOf(bytes)) {
    case Container::Png:
        return bytes.size() > pngDepthAt && bytes[pngDepthAt] == 16 ? 16 : 8;
    case Container::Tiff: {
        std::string copy = bytes;
        const tarvix::TiffBytes tiff(copy);
        const auto bits = tiff.number(*tiff.directory(tiff.firstDirectory()), 0x0102);
        return bits && *bits > 8 && *bits <= 64 ? static_cast<int>(*bits) : 8;
    }
    default:
        break;
    }
    const bool pnm = bytes.size() > 2 && bytes[0] == 'P' &&
                     std::string("2356").find(bytes[1]) != std::string::npos;
    return pnm && largestOfPnm(bytes) > 255 ? 16 : 8;
}

} // namespace host
