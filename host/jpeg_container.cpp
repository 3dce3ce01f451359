// Metadata in JPEG files: marker segments before the image's own data.
#include "assist/exif.h"
#include "host/containers.h"

#include <algorithm>
#include <map>

namespace host {

namespace {

const std::string exifName("Exif\0\0", 6);
const std::string xmpName("http://ns.adobe.com/xap/1.0/\0", 29);
const std::string moreXmpName("http://ns.adobe.com/xmp/extension/\0", 35);
const std::string iccName("ICC_PROFILE\0", 12); // then the part's number and how many there are
const std::string photoshopName("Photoshop 3.0\0", 14);

constexpr unsigned char app0 = 0xE0, app1 = 0xE1, app2 = 0xE2, app13 = 0xED;
constexpr std::size_t longestContent = 65533; // of a segment, without its two bytes of length

bool startsWith(const std::string& bytes, const std::string& what) {
    return bytes.compare(0, what.size(), what) == 0;
}

unsigned byteOf(const std::string& bytes, std::size_t at) {
    return static_cast<unsigned char>(bytes[at]);
}

struct Segment {
    unsigned char marker = 0;
    std::size_t at = 0; // of its 0xFF
    std::size_t end = 0;
    std::string content; // without the marker and the length
};

// The segments before the image's data.
std::vector<Segment> segmentsOf(const std::string& bytes) {
    std::vector<Segment> segments;
    std::size_t at = 2;
    while (at + 4 <= bytes.size() && byteOf(bytes, at) == 0xFF) {
        const auto marker = static_cast<unsigned char>(byteOf(bytes, at + 1));
        if (marker == 0xFF) { // a fill byte
            ++at;
            continue;
        }
        const std::size_t length = byteOf(bytes, at + 2) << 8 | byteOf(bytes, at + 3);
        if (marker == 0xDA || marker == 0xD9 || length < 2 || length > bytes.size() - at - 2) {
            break;
        }
        segments.push_back({marker, at, at + 2 + length, bytes.substr(at + 4, length - 2)});
        at += 2 + length;
    }
    return segments;
}

std::string segment(unsigned char marker, const std::string& content) {
    const std::size_t length = content.size() + 2;
    std::string bytes = {static_cast<char>(0xFF), static_cast<char>(marker),
                         static_cast<char>(length >> 8), static_cast<char>(length & 0xFF)};
    return bytes + content;
}

// The whole profile of its parts; empty if one is missing.
std::string profileOf(const std::map<unsigned, std::string>& parts, unsigned count) {
    std::string profile;
    for (unsigned i = 1; i <= count; ++i) {
        const auto part = parts.find(i);
        if (part == parts.end()) {
            return {};
        }
        profile += part->second;
    }
    return profile;
}

std::string profileSegments(const std::string& profile) {
    const std::size_t room = longestContent - iccName.size() - 2;
    const std::size_t count = (profile.size() + room - 1) / room;
    std::string bytes;
    for (std::size_t i = 0; i < count; ++i) {
        bytes += segment(app2, iccName + static_cast<char>(i + 1) + static_cast<char>(count) +
                                   profile.substr(i * room, room));
    }
    return bytes;
}

} // namespace

Metadata jpegMetadata(const std::string& bytes) {
    Metadata metadata;
    std::map<unsigned, std::string> parts;
    unsigned count = 0;
    for (const Segment& s : segmentsOf(bytes)) {
        if (s.marker == app1 && startsWith(s.content, exifName) && metadata.exif.empty()) {
            metadata.exif = s.content.substr(exifName.size());
        } else if (s.marker == app1 && startsWith(s.content, xmpName)) {
            metadata.xmp = s.content.substr(xmpName.size());
        } else if (s.marker == app2 && startsWith(s.content, iccName) &&
                   s.content.size() > iccName.size() + 2) {
            parts[byteOf(s.content, iccName.size())] = s.content.substr(iccName.size() + 2);
            count = byteOf(s.content, iccName.size() + 1);
        } else if ((s.marker == app1 && startsWith(s.content, moreXmpName)) ||
                   (s.marker == app13 && startsWith(s.content, photoshopName))) {
            metadata.jpegSegments.push_back(segment(s.marker, s.content));
        }
    }
    metadata.icc = profileOf(parts, count);
    if (!tarvix::isExif(metadata.exif)) {
        metadata.exif.clear();
    }
    return metadata;
}

std::string jpegWith(const std::string& file, const Metadata& metadata,
                     std::vector<std::string>& leftOut) {
    std::string carried;
    if (exifName.size() + metadata.exif.size() > longestContent) {
        leftOut.emplace_back("EXIF");
    } else if (!metadata.exif.empty()) {
        carried += segment(app1, exifName + metadata.exif);
    }
    if (xmpName.size() + metadata.xmp.size() > longestContent) {
        leftOut.emplace_back("XMP");
    } else if (!metadata.xmp.empty()) {
        carried += segment(app1, xmpName + metadata.xmp);
    }
    if (metadata.icc.size() > 255 * (longestContent - iccName.size() - 2)) {
        leftOut.emplace_back("the colour profile");
    } else {
        carried += profileSegments(metadata.icc);
    }
    for (const std::string& whole : metadata.jpegSegments) {
        carried += whole;
    }
    std::size_t at = 2; // after the start, and after the segment of JFIF
    const std::vector<Segment> segments = segmentsOf(file);
    if (!segments.empty() && segments[0].marker == app0) {
        at = segments[0].end;
    }
    return file.substr(0, at) + carried + file.substr(at);
}

} // namespace host
