// Metadata in WebP files: the chunks ICCP, EXIF and "XMP " of the extended format.
#include "assist/exif.h"
#include "host/containers.h"

#include <utility>

namespace host {

namespace {

constexpr std::size_t headerSize = 12; // RIFF, size, WEBP

std::uint32_t little32(const std::string& bytes, std::size_t at) {
    const auto byte = [&](std::size_t i) {
        return std::uint32_t{static_cast<unsigned char>(bytes[at + i])};
    };
    return byte(3) << 24U | byte(2) << 16U | byte(1) << 8U | byte(0);
}

std::string little(std::uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>(value >> (8U * static_cast<unsigned>(i)) & 0xFFU);
    }
    return text;
}

std::string chunk(const std::string& type, const std::string& content) {
    return type + little(static_cast<std::uint32_t>(content.size()), 4) + content +
           std::string(content.size() % 2, '\0');
}

std::vector<std::pair<std::string, std::string>> chunksOf(const std::string& bytes) {
    std::vector<std::pair<std::string, std::string>> chunks;
    for (std::size_t at = headerSize; at + 8 <= bytes.size();) {
        const std::size_t length = little32(bytes, at + 4);
        if (length > bytes.size() - at - 8) {
            break;
        }
        chunks.emplace_back(bytes.substr(at, 4), bytes.substr(at + 8, length));
        at += 8 + length + length % 2;
    }
    return chunks;
}

} // namespace

Metadata webpMetadata(const std::string& bytes) {
    Metadata metadata;
    for (const auto& [type, content] : chunksOf(bytes)) {
        if (type == "ICCP") {
            metadata.icc = content;
        } else if (type == "EXIF") { // some programs write the name of JPEG's segment before it
            metadata.exif = content.size() > 6 && content.compare(0, 4, "Exif") == 0
                                ? content.substr(6)
                                : content;
        } else if (type == "XMP ") {
            metadata.xmp = content;
        }
    }
    if (!tarvix::isExif(metadata.exif)) {
        metadata.exif.clear();
    }
    return metadata;
}

std::string webpWith(const std::string& file, const Metadata& metadata, cv::Size image) {
    if (metadata.exif.empty() && metadata.xmp.empty() && metadata.icc.empty()) {
        return file;
    }
    constexpr unsigned profileFlag = 0x20, alphaFlag = 0x10, exifFlag = 0x08, xmpFlag = 0x04;
    unsigned flags = (metadata.icc.empty() ? 0 : profileFlag) |
                     (metadata.exif.empty() ? 0 : exifFlag) | (metadata.xmp.empty() ? 0 : xmpFlag);
    std::string pixels;
    for (const auto& [type, content] : chunksOf(file)) {
        if (type != "VP8X") {
            pixels += chunk(type, content);
        } else if (!content.empty()) {
            flags |= static_cast<unsigned char>(content[0]) & alphaFlag;
        }
    }
    std::string chunks =
        chunk("VP8X", little(flags, 4) + little(static_cast<std::uint32_t>(image.width - 1), 3) +
                          little(static_cast<std::uint32_t>(image.height - 1), 3));
    if (!metadata.icc.empty()) {
        chunks += chunk("ICCP", metadata.icc);
    }
    chunks += pixels;
    if (!metadata.exif.empty()) {
        chunks += chunk("EXIF", metadata.exif);
    }
    if (!metadata.xmp.empty()) {
        chunks += chunk("XMP ", metadata.xmp);
    }
    return "RIFF" + little(static_cast<std::uint32_t>(chunks.size() + 4), 4) + "WEBP" + chunks;
}

} // namespace host
