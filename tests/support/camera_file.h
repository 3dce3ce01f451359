// The file between a test and the camera that it emulates: this header, then the frames, blue,
// green, red, rows without padding. The environment variable holds its path.
#pragma once

#include <cstdint>

namespace test {

inline const char* const cameraVariable = "TARVIX_EMULATED_CAMERA";

struct CameraFile {
    std::uint32_t width = 0, height = 0; // pixels
    std::uint32_t frames = 0;            // stored
    std::uint32_t served = 0;            // until the camera stops; past the stored ones, the last
};

} // namespace test
