// Metadata in PNG files: the chunks eXIf, iTXt (XMP) and iCCP.
#include "assist/exif.h"
#include "host/containers.h"

#include <zlib.h>

#include <algorithm>
#include <optional>

namespace host {

namespace {

constexpr std::size_t signatureSize = 8, headerEnd = 33; // of the chunk IHDR
constexpr std::size_t largestInflated = 16U << 20U;      // far above every profile and packet
const std::string rawProfileKeyword("Raw profile type exif");
const std::string xmpKeyword("XML:com.adobe.xmp\0", 18);

std::uint32_t big32(const std::string& bytes, std::size_t at) {
    const auto byte = [&](std::size_t i) {
        return std::uint32_t{static_cast<unsigned char>(bytes[at + i])};
    };
    return byte(0) << 24U | byte(1) << 16U | byte(2) << 8U | byte(3);
}

std::string big32(std::uint32_t value) {
    return {static_cast<char>(value >> 24U), static_cast<char>(value >> 16U & 0xFFU),
            static_cast<char>(value >> 8U & 0xFFU), static_cast<char>(value & 0xFFU)};
}

const Bytef* bytesOf(const std::string& text) {
    return reinterpret_cast<const Bytef*>(text.data());
}

std::string chunk(const std::string& type, const std::string& content) {
    const std::string body = type + content;
    const uLong check = crc32(crc32(0, nullptr, 0), bytesOf(body), static_cast<uInt>(body.size()));
    return big32(static_cast<std::uint32_t>(content.size())) + body +
           big32(static_cast<std::uint32_t>(check));
}

// Empty if the stream is damaged or gives too much.
std::string inflated(const std::string& stream) {
    std::string result(std::max<std::size_t>(stream.size() * 4, 4096), '\0');
    while (result.size() <= largestInflated) {
        auto size = static_cast<uLongf>(result.size());
        const int status = uncompress(reinterpret_cast<Bytef*>(result.data()), &size,
                                      bytesOf(stream), static_cast<uLong>(stream.size()));
        if (status == Z_OK) {
            result.resize(size);
            return result;
        }
        if (status != Z_BUF_ERROR) {
            break;
        }
        result.resize(result.size() * 2);
    }
    return {};
}

std::string deflated(const std::string& content) {
    auto size = compressBound(static_cast<uLong>(content.size()));
    std::string result(size, '\0');
    compress(reinterpret_cast<Bytef*>(result.data()), &size, bytesOf(content),
             static_cast<uLong>(content.size()));
    result.resize(size);
    return result;
}

// An international text chunk: keyword, 0, compressed, method, language, 0, translated, 0, text.
std::string xmpOf(const std::string& content) {
    if (content.compare(0, xmpKeyword.size(), xmpKeyword) != 0 ||
        content.size() < xmpKeyword.size() + 4) {
        return {};
    }
    const bool compressed = content[xmpKeyword.size()] != 0;
    const std::size_t language = content.find('\0', xmpKeyword.size() + 2);
    const std::size_t translated =
        language == std::string::npos ? language : content.find('\0', language + 1);
    if (translated == std::string::npos) {
        return {};
    }
    const std::string text = content.substr(translated + 1);
    return compressed ? inflated(text) : text;
}

// Name, 0, method, stream.
std::string profileOf(const std::string& content) {
    const std::size_t end = content.find('\0');
    return end == std::string::npos || end + 2 > content.size() ? std::string()
                                                                : inflated(content.substr(end + 2));
}

// The text form in which some programs write EXIF: "\nexif\n   LENGTH\n" and hexadecimal digits.
std::string exifOfText(const std::string& text) {
    constexpr std::size_t titleLines = 3;
    std::size_t at = 0;
    for (std::size_t i = 0; i < titleLines; ++i) {
        at = text.find('\n', at);
        if (at == std::string::npos) {
            return {};
        }
        ++at;
    }
    const auto digit = [](char c) {
        return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
    };
    std::string block;
    int high = -1;
    for (; at < text.size(); ++at) {
        const int value = digit(text[at]);
        if (value >= 0 && high < 0) {
            high = value;
        } else if (value >= 0) {
            block += static_cast<char>(16 * high + value);
            high = -1;
        }
    }
    return block.compare(0, 4, "Exif") == 0 && block.size() > 6 ? block.substr(6) : block;
}

// A compressed text chunk: keyword, 0, method, stream.
std::string textOf(const std::string& content, const std::string& keyword) {
    const std::string start = keyword + std::string(2, '\0');
    return content.compare(0, start.size(), start) == 0 ? inflated(content.substr(start.size()))
                                                        : std::string();
}

} // namespace

Metadata pngMetadata(const std::string& bytes) {
    Metadata metadata;
    for (std::size_t at = signatureSize; at + 12 <= bytes.size();) {
        const std::size_t length = big32(bytes, at);
        if (length > bytes.size() - at - 12) {
            break;
        }
        const std::string type = bytes.substr(at + 4, 4);
        if (type == "eXIf") {
            metadata.exif = bytes.substr(at + 8, length);
        } else if (type == "iCCP") {
            metadata.icc = profileOf(bytes.substr(at + 8, length));
        } else if (type == "zTXt" && metadata.exif.empty()) {
            metadata.exif = exifOfText(textOf(bytes.substr(at + 8, length), rawProfileKeyword));
            metadata.exifAsText = !metadata.exif.empty();
        } else if (type == "iTXt" && metadata.xmp.empty()) {
            metadata.xmp = xmpOf(bytes.substr(at + 8, length));
        }
        at += 12 + length;
    }
    if (!tarvix::isExif(metadata.exif)) {
        metadata.exif.clear();
    }
    return metadata;
}

std::string pngWith(const std::string& file, const Metadata& metadata) {
    std::string carried;
    if (!metadata.icc.empty()) {
        carried += chunk("iCCP", std::string("ICC profile\0\0", 13) + deflated(metadata.icc));
    }
    if (!metadata.exif.empty()) {
        carried += chunk("eXIf", metadata.exif);
    }
    if (!metadata.xmp.empty()) {
        carried += chunk("iTXt", xmpKeyword + std::string(4, '\0') + metadata.xmp);
    }
    return file.substr(0, headerEnd) + carried + file.substr(headerEnd);
}

} // namespace host
