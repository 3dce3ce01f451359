// A look at a calibration document before OpenCV reads it.
//
// Calibration files are data from outside, and OpenCV's readers trust them: a document that ends
// after its header makes the XML reader follow a null pointer, nested elements use up the stack
// without a bound, and a file named .xml may as well hold YAML or JSON, whose readers are no safer.
// So only what this check lets through is handed on.
#pragma once

#include <cstddef>
#include <string_view>

namespace tarvix {

// A calibration file is a few hundred bytes. Larger ones than this are refused unread.
inline constexpr std::size_t largestDocument = std::size_t{1} << 20;

// True for a whole, well-formed XML document of the kind that OpenCV writes: a header, one element
// `opencv_storage`, elements nested at most 16 deep whose tags match and stand on one line each,
// text or elements in each, and comments, lines of at most 4000 bytes, no control characters.
// Binary (base64) data and empty-element tags are refused. What the elements mean is not looked at.
bool isSoundDocument(std::string_view text);

} // namespace tarvix
