// EXIF blocks of photographs: what they say of the lens and the orientation, and their correction.
// A block is a TIFF structure as JPEG, PNG and WebP files carry it, without the name "Exif" before
// it. Blocks come from files: nothing that is read outside of the block, or twice, is followed.
//
// A block is corrected in place, so that everything else in it stays byte for byte where it is. A
// maker's notes often point at places in the block and are lost if it is laid out anew.
#pragma once

#include <opencv2/core/types.hpp>

#include <optional>
#include <string>

namespace tarvix {

// What a block says. Tags that are missing, of another type or out of range have no value.
struct ExifFacts {
    int orientation = 1;               // 1 to 8, as the standard numbers them; 1: upright
    std::optional<double> focalMm{};   // of the lens
    std::optional<double> focal35Mm{}; // 35-mm equivalent
    std::optional<double>
        sensorMm{};    // longer side of the sensor, from the focal plane's resolution
    cv::Size pixels{}; // of the image when it was taken, not turned; empty if unknown
};
ExifFacts exifFacts(const std::string& block);

// Whether the block begins as one: a byte order, 42, and a first directory inside the block.
bool isExif(const std::string& block);

// The 35-mm equivalent focal length of a photograph, mm: of the lens by the crop factor if one is
// given, otherwise of its own tag, otherwise of the lens and the sensor.
//   image       size of the upright image, pixels
//   cropFactor  35-mm equivalent per focal length; 0 if unknown
// Returns no value if the block does not say it, or if the image has other proportions than it had
// when it was taken: it was cropped.
std::optional<double> focal35Of(const ExifFacts& facts, cv::Size image, double cropFactor);

// Whether the block says that the image had other proportions when it was taken.
bool wasCropped(const ExifFacts& facts, cv::Size image);

// The block for an upright image of that size: the orientation is 1, size tags that exist have the
// size, and the thumbnail is dropped: its bytes are cleared, and cut off where they are last. What
// is not a block is returned as it is.
//   sameView  false if the image was warped or cut: the 35-mm equivalent and the focal plane's
//             resolution become 0, which means unknown
std::string uprightExif(std::string block, cv::Size image, bool sameView);

// The same for an XMP packet: tiff:Orientation, tiff:ImageWidth and -Length, exif:PixelXDimension
// and -YDimension, as attributes or elements.
std::string uprightXmp(std::string packet, cv::Size image);

} // namespace tarvix
