#include "tiff_tree.h"

#include "tiff_bytes.h"

#include <algorithm>
#include <array>

namespace tarvix {

namespace {

constexpr std::uint16_t exifPointer = 0x8769, gpsPointer = 0x8825, interopPointer = 0xA005;

// Bytes that are exchanged together when the byte order is.
std::size_t wordSize(std::uint16_t type) {
    const std::size_t size = tiffTypeSize(type);
    return type == 5 || type == 10 ? 4 : size; // rationals are two words
}

std::vector<TiffTag> tagsOf(const TiffBytes& tiff, const std::string& bytes,
                            const TiffDirectory& directory) {
    std::vector<TiffTag> tags;
    for (const TiffEntry& entry : directory.entries) {
        if (entry.tag == exifPointer || entry.tag == gpsPointer || entry.tag == interopPointer) {
            continue;
        }
        TiffTag tag{entry.tag, entry.type, entry.count, bytes.substr(entry.at, entry.size)};
        if (!tiff.littleEndian()) {
            const std::size_t word = wordSize(entry.type);
            for (std::size_t at = 0; at + word <= tag.value.size(); at += word) {
                const auto first = tag.value.begin() + static_cast<std::ptrdiff_t>(at);
                std::reverse(first, first + static_cast<std::ptrdiff_t>(word));
            }
        }
        tags.push_back(std::move(tag));
    }
    return tags;
}

std::optional<TiffDirectory> below(const TiffBytes& tiff, const TiffDirectory& directory,
                                   std::uint16_t pointer) {
    const auto at = tiff.number(directory, pointer);
    return at ? tiff.directory(static_cast<std::size_t>(*at)) : std::nullopt;
}

std::string little(std::uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>(value >> (8U * static_cast<unsigned>(i)) & 0xFFU);
    }
    return text;
}

// Appends the values and the directory; returns where it is.
std::uint32_t append(std::string& bytes, std::vector<TiffTag> tags) {
    std::stable_sort(tags.begin(), tags.end(),
                     [](const TiffTag& a, const TiffTag& b) { return a.tag < b.tag; });
    std::string entries = little(static_cast<std::uint32_t>(tags.size()), 2);
    const auto even = [&bytes] { bytes.resize(bytes.size() + bytes.size() % 2, '\0'); };
    for (const TiffTag& tag : tags) {
        entries += little(tag.tag, 2) + little(tag.type, 2) + little(tag.count, 4);
        if (tag.value.size() <= 4) {
            entries += tag.value + std::string(4 - tag.value.size(), '\0');
        } else {
            even();
            entries += little(static_cast<std::uint32_t>(bytes.size()), 4);
            bytes += tag.value;
        }
    }
    even();
    const auto at = static_cast<std::uint32_t>(bytes.size());
    bytes += entries + little(0, 4);
    return at;
}

} // namespace

std::optional<TiffTree> tiffTree(const std::string& bytes) {
    std::string copy = bytes;
    const TiffBytes tiff(copy);
    if (!tiff.good()) {
        return std::nullopt;
    }
    const auto main = tiff.directory(tiff.firstDirectory());
    TiffTree tree;
    tree.main = tagsOf(tiff, bytes, *main);
    if (const auto exif = below(tiff, *main, exifPointer)) {
        tree.exif = tagsOf(tiff, bytes, *exif);
        if (const auto interop = below(tiff, *exif, interopPointer)) {
            tree.interop = tagsOf(tiff, bytes, *interop);
        }
    }
    if (const auto gps = below(tiff, *main, gpsPointer)) {
        tree.gps = tagsOf(tiff, bytes, *gps);
    }
    return tree;
}

bool isDescriptive(std::uint16_t tag) {
    // DocumentName, ImageDescription, Make, Model, Orientation, the resolution and its unit,
    // Software, DateTime, Artist, HostComputer, ratings, Copyright, IPTC, what Windows writes.
    constexpr std::array<std::uint16_t, 21> tags = {
        0x010D, 0x010E, 0x010F, 0x0110, 0x0112, 0x011A, 0x011B, 0x0128, 0x0131, 0x0132, 0x013B,
        0x013C, 0x4746, 0x4749, 0x8298, 0x83BB, 0x9C9B, 0x9C9C, 0x9C9D, 0x9C9E, 0x9C9F};
    return std::find(tags.begin(), tags.end(), tag) != tags.end();
}

void appendTree(std::string& bytes, const TiffTree& tree) {
    std::vector<TiffTag> main = tree.main;
    std::vector<TiffTag> exif = tree.exif;
    const auto add = [&bytes](std::vector<TiffTag>& to, std::uint16_t pointer,
                              const std::vector<TiffTag>& tags) {
        if (!tags.empty()) {
            to.push_back({pointer, tiffLong, 1, little(append(bytes, tags), 4)});
        }
    };
    add(exif, interopPointer, tree.interop);
    add(main, exifPointer, exif);
    add(main, gpsPointer, tree.gps);
    const std::uint32_t first = append(bytes, main);
    bytes.replace(4, 4, little(first, 4));
}

std::string exifBlock(const TiffTree& tree) {
    std::string block("II*\0\0\0\0\0", 8);
    appendTree(block, tree);
    return block;
}

} // namespace tarvix
