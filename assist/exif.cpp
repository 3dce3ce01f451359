#include "exif.h"

#include "tiff_bytes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace tarvix {

namespace {

// Tags, as TIFF 6.0 and EXIF 2.32 number them.
constexpr std::uint16_t imageWidth = 0x0100, imageLength = 0x0101, orientationTag = 0x0112;
constexpr std::uint16_t thumbnailAt = 0x0201, thumbnailSize = 0x0202;
constexpr std::uint16_t exifDirectory = 0x8769, gpsDirectory = 0x8825, interopDirectory = 0xA005;
constexpr std::uint16_t focalLength = 0x920A, focalLength35 = 0xA405;
constexpr std::uint16_t pixelX = 0xA002, pixelY = 0xA003;
constexpr std::uint16_t planeX = 0xA20E, planeY = 0xA20F, planeUnit = 0xA210;

std::optional<TiffDirectory> below(const TiffBytes& tiff, const TiffDirectory& directory,
                                   std::uint16_t tag) {
    const auto at = tiff.number(directory, tag);
    return at ? tiff.directory(static_cast<std::size_t>(*at)) : std::nullopt;
}

std::optional<double> between(std::optional<double> number, double low, double high) {
    return number && *number >= low && *number <= high ? number : std::nullopt;
}

// Millimetres in the unit of the focal plane's resolution; 2 (inches) is the default.
double unitMm(std::optional<double> unit) {
    const int code = unit ? static_cast<int>(*unit) : 2;
    return code == 3 ? 10 : code == 4 ? 1 : code == 5 ? 0.001 : 25.4;
}

void readExifDirectory(const TiffBytes& tiff, const TiffDirectory& exif, ExifFacts& facts) {
    facts.focalMm = between(tiff.number(exif, focalLength), 0.1, 1e4);
    facts.focal35Mm = between(tiff.number(exif, focalLength35), 1, 1e4);
    const auto x = between(tiff.number(exif, pixelX), 1, 1e6);
    const auto y = between(tiff.number(exif, pixelY), 1, 1e6);
    if (!x || !y) {
        return;
    }
    facts.pixels = {static_cast<int>(*x), static_cast<int>(*y)};
    const auto perUnitX = between(tiff.number(exif, planeX), 1e-3, 1e9);
    const auto perUnitY = between(tiff.number(exif, planeY), 1e-3, 1e9);
    if (perUnitX && perUnitY) {
        const double unit = unitMm(tiff.number(exif, planeUnit));
        facts.sensorMm = between(std::max(*x / *perUnitX, *y / *perUnitY) * unit, 1, 100);
    }
}

void setIfThere(TiffBytes& tiff, const TiffDirectory& directory, std::uint16_t tag, int value) {
    if (const TiffEntry* entry = directory.find(tag)) {
        tiff.set(*entry, static_cast<std::uint32_t>(value));
    }
}

// The end of what the directory's entries have outside of it.
std::size_t endOf(const std::optional<TiffDirectory>& directory) {
    std::size_t end = 0;
    if (directory) {
        end = directory->nextAt + 4;
        for (const TiffEntry& entry : directory->entries) {
            end = std::max(end, entry.at + entry.size);
        }
    }
    return end;
}

// Returns the place from which on there is only the thumbnail, or the block's size.
std::size_t dropThumbnail(TiffBytes& tiff, std::string& block, const TiffDirectory& first,
                          std::size_t used) {
    if (first.nextAt == 0 || first.next == 0) {
        return block.size();
    }
    const auto second = tiff.directory(first.next);
    tiff.put32(first.nextAt, 0);
    if (!second) {
        return block.size();
    }
    const auto at = tiff.number(*second, thumbnailAt), size = tiff.number(*second, thumbnailSize);
    // What something else uses, too, is left alone.
    if (at && size && *at >= static_cast<double>(used) &&
        *at + *size <= static_cast<double>(block.size())) {
        std::fill_n(block.begin() + static_cast<std::ptrdiff_t>(*at),
                    static_cast<std::ptrdiff_t>(*size), '\0');
    }
    return first.next >= used ? first.next : block.size();
}

// Replaces the number after every `name="` and `name>`. An element's end tag has no number.
void setXmpNumber(std::string& packet, std::string_view name, int value) {
    const std::string text = std::to_string(value);
    for (const char* opening : {"=\"", "='", ">"}) {
        const std::string start = std::string(name) + opening;
        for (std::size_t at = packet.find(start); at != std::string::npos;
             at = packet.find(start, at + 1)) {
            const std::size_t from = at + start.size();
            const std::size_t to = packet.find_first_not_of("0123456789", from);
            if (to != std::string::npos && to > from) {
                packet.replace(from, to - from, text);
            }
        }
    }
}

} // namespace

bool isExif(const std::string& block) {
    std::string copy = block;
    return TiffBytes(copy).good();
}

ExifFacts exifFacts(const std::string& block) {
    std::string copy = block;
    const TiffBytes tiff(copy);
    ExifFacts facts;
    if (!tiff.good()) {
        return facts;
    }
    const auto first = tiff.directory(tiff.firstDirectory());
    if (const auto turned = between(tiff.number(*first, orientationTag), 1, 8)) {
        facts.orientation = static_cast<int>(*turned);
    }
    if (const auto exif = below(tiff, *first, exifDirectory)) {
        readExifDirectory(tiff, *exif, facts);
    }
    return facts;
}

bool wasCropped(const ExifFacts& facts, cv::Size image) {
    constexpr double tolerated = 0.02; // cameras crop by a few rows themselves
    if (facts.pixels.empty() || image.empty()) {
        return false;
    }
    const auto shape = [](cv::Size size) {
        return static_cast<double>(std::max(size.width, size.height)) /
               std::min(size.width, size.height);
    };
    return std::abs(shape(facts.pixels) / shape(image) - 1) > tolerated;
}

std::optional<double> focal35Of(const ExifFacts& facts, cv::Size image, double cropFactor) {
    constexpr double frameMm = 36; // longer side of the 35-mm frame
    if (wasCropped(facts, image)) {
        return std::nullopt;
    }
    if (cropFactor > 0 && facts.focalMm) {
        return *facts.focalMm * cropFactor;
    }
    if (facts.focal35Mm) {
        return facts.focal35Mm;
    }
    if (facts.focalMm && facts.sensorMm) {
        return *facts.focalMm * frameMm / *facts.sensorMm;
    }
    return std::nullopt;
}

std::string uprightExif(std::string block, cv::Size image, bool sameView) {
    TiffBytes tiff(block);
    if (!tiff.good()) {
        return block;
    }
    const auto first = tiff.directory(tiff.firstDirectory());
    setIfThere(tiff, *first, orientationTag, 1);
    setIfThere(tiff, *first, imageWidth, image.width);
    setIfThere(tiff, *first, imageLength, image.height);
    std::size_t used = endOf(first);
    if (const auto exif = below(tiff, *first, exifDirectory)) {
        setIfThere(tiff, *exif, pixelX, image.width);
        setIfThere(tiff, *exif, pixelY, image.height);
        if (!sameView) {
            for (const std::uint16_t tag : {focalLength35, planeX, planeY}) {
                setIfThere(tiff, *exif, tag, 0);
            }
        }
        used = std::max({used, endOf(exif), endOf(below(tiff, *exif, interopDirectory))});
    }
    used = std::max(used, endOf(below(tiff, *first, gpsDirectory)));
    block.resize(dropThumbnail(tiff, block, *first, used));
    return block;
}

std::string uprightXmp(std::string packet, cv::Size image) {
    setXmpNumber(packet, "tiff:Orientation", 1);
    setXmpNumber(packet, "tiff:ImageWidth", image.width);
    setXmpNumber(packet, "tiff:ImageLength", image.height);
    setXmpNumber(packet, "exif:PixelXDimension", image.width);
    setXmpNumber(packet, "exif:PixelYDimension", image.height);
    return packet;
}

} // namespace tarvix
