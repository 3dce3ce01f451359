// The descriptive tags of a photograph apart from their places in a file: for TIFF files, whose own
// tags the descriptive ones stand among.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvix {

// A tag with its value in little-endian bytes.
struct TiffTag {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint32_t count = 0;
    std::string value;
};

struct TiffTree {
    std::vector<TiffTag> main{}; // without the pointers to the other directories
    std::vector<TiffTag> exif{}, interop{}, gps{};
};

// Reads a TIFF structure: a file or an EXIF block. Returns no value for anything else.
std::optional<TiffTree> tiffTree(const std::string& bytes);

// Whether a tag of the main directory describes the photograph, not how its pixels are stored.
bool isDescriptive(std::uint16_t tag);

// Appends the directories to little-endian bytes that begin as a TIFF structure, and makes the main
// one the first.
void appendTree(std::string& bytes, const TiffTree& tree);

// An EXIF block of the tree.
std::string exifBlock(const TiffTree& tree);

} // namespace tarvix
