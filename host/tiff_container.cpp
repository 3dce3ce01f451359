// Metadata in TIFF files: tags of the file's own directory, and directories below it.
#include "assist/tiff_bytes.h"
#include "assist/tiff_tree.h"
#include "host/containers.h"

#include <algorithm>

namespace host {

namespace {

constexpr std::uint16_t xmpTag = 700, iccTag = 34675;

const tarvix::TiffTag* find(const std::vector<tarvix::TiffTag>& tags, std::uint16_t tag) {
    const auto found = std::find_if(tags.begin(), tags.end(),
                                    [tag](const tarvix::TiffTag& t) { return t.tag == tag; });
    return found == tags.end() ? nullptr : &*found;
}

} // namespace

Metadata tiffMetadata(const std::string& bytes) {
    Metadata metadata;
    auto tree = tarvix::tiffTree(bytes);
    if (!tree) {
        return metadata;
    }
    if (const auto* xmp = find(tree->main, xmpTag)) {
        metadata.xmp = xmp->value;
    }
    if (const auto* icc = find(tree->main, iccTag)) {
        metadata.icc = icc->value;
    }
    std::erase_if(tree->main,
                  [](const tarvix::TiffTag& t) { return !tarvix::isDescriptive(t.tag); });
    if (!tree->main.empty() || !tree->exif.empty() || !tree->gps.empty()) {
        metadata.exif = tarvix::exifBlock(*tree);
    }
    return metadata;
}

std::string tiffWith(const std::string& file, const Metadata& metadata,
                     std::vector<std::string>& leftOut) {
    auto tree = tarvix::tiffTree(file);
    if (metadata.exif.empty() && metadata.xmp.empty() && metadata.icc.empty()) {
        return file;
    }
    if (!tree ||
        file.compare(0, 2, "II") != 0) { // OpenCV writes the other order on no system of ours
        leftOut.emplace_back("EXIF, XMP and the colour profile");
        return file;
    }
    if (const auto carried = tarvix::tiffTree(metadata.exif)) {
        for (const tarvix::TiffTag& tag : carried->main) {
            if (tarvix::isDescriptive(tag.tag) && find(tree->main, tag.tag) == nullptr) {
                tree->main.push_back(tag);
            }
        }
        tree->exif = carried->exif;
        tree->interop = carried->interop;
        tree->gps = carried->gps;
    }
    const auto put = [&tree](std::uint16_t tag, std::uint16_t type, const std::string& value) {
        if (!value.empty()) {
            tree->main.push_back({tag, type, static_cast<std::uint32_t>(value.size()), value});
        }
    };
    put(xmpTag, tarvix::tiffByte, metadata.xmp);
    put(iccTag, tarvix::tiffUndefined, metadata.icc);
    std::string result = file;
    tarvix::appendTree(result, *tree);
    return result;
}

} // namespace host
