// The metadata of image files, as opaque blocks between the bytes of JPEG, PNG, WebP and TIFF
// files. The bytes may be anything: nothing outside of them is read.
//
// This is our own code on purpose. exiv2 is under the GPL, and the program would then be, too.
// libexif knows JPEG alone and lays blocks out anew, which loses makers' notes.
#pragma once

#include <opencv2/core/types.hpp>

#include <string>
#include <vector>

namespace host {

struct Metadata {
    std::string exif{};      // a TIFF structure
    std::string xmp{};       // the packet
    std::string icc{};       // the colour profile
    bool exifAsText = false; // in a PNG file, in a form that OpenCV does not look at
    std::vector<std::string> jpegSegments{}; // of JPEG alone, whole: extended XMP, IPTC

    [[nodiscard]] bool empty() const {
        return exif.empty() && xmp.empty() && icc.empty() && jpegSegments.empty();
    }
};

enum class Container { Other, Jpeg, Png, Webp, Tiff };
Container containerOf(const std::string& bytes);

// What the file carries; nothing for a file of another kind. Damaged parts are left out.
Metadata metadataOf(const std::string& bytes);

// The file with the metadata in it. It must have none of its own, as those that OpenCV writes.
//   file     a whole image file
//   image    its size, pixels
//   leftOut  is given what the file cannot hold, such as "XMP"
std::string withMetadata(const std::string& file, const Metadata& metadata, cv::Size image,
                         std::vector<std::string>& leftOut);

// Bits per sample where the header says so (PNG, TIFF, PNM), otherwise 8.
int bitsPerSample(const std::string& bytes);

// The parts for each kind of file.
Metadata jpegMetadata(const std::string& bytes);
Metadata pngMetadata(const std::string& bytes);
Metadata webpMetadata(const std::string& bytes);
Metadata tiffMetadata(const std::string& bytes);
std::string jpegWith(const std::string& file, const Metadata& metadata,
                     std::vector<std::string>& leftOut);
std::string pngWith(const std::string& file, const Metadata& metadata);
std::string webpWith(const std::string& file, const Metadata& metadata, cv::Size image);
std::string tiffWith(const std::string& file, const Metadata& metadata,
                     std::vector<std::string>& leftOut);

} // namespace host
