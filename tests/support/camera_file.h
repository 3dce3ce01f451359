// The file between a test and the camera that it emulates: this header, then the frames, blue,
// green, red, rows without padding. The environment variable holds its path.
#pragma once

#include <cstdint>

namespace test {

inline const char* const cameraVariable = "TARVIX_EMULATED_CAMERA";

struct CameraFile {
    std::uint32_t width = 0, height = 0; // pixels
    std::uint32_t frames = 0;            // stored
    // Delivered until the camera stops. Beyond the stored frames, the last one is repeated.
    std::uint32_t served = 0;
};

} // namespace test
