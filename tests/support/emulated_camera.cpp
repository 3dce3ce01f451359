#include "tests/support/emulated_camera.h"

#include "tests/support/camera_file.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace test {

namespace {

constexpr std::uint32_t manyFrames = 4000; // two minutes and more

std::string withOption(const char* variable, const std::string& option) {
    const char* const options = std::getenv(variable);
    return options == nullptr ? option : std::string(options) + ":" + option;
}

} // namespace

EmulatedCamera::EmulatedCamera(const char* fileName)
    : m_file(cameraVariable, m_folder / fileName),
      m_addressChecker("ASAN_OPTIONS", withOption("ASAN_OPTIONS", "fast_unwind_on_malloc=0")),
      m_leakChecker("LSAN_OPTIONS",
                    withOption("LSAN_OPTIONS", "print_suppressions=0:suppressions=" TARVIX_LEAKS)) {
}

EmulatedCamera::EmulatedCamera(const std::vector<cv::Mat>& frames, AfterLastFrame after)
    : EmulatedCamera("frames") {
    CameraFile header;
    header.width = static_cast<std::uint32_t>(frames.at(0).cols);
    header.height = static_cast<std::uint32_t>(frames.at(0).rows);
    header.frames = static_cast<std::uint32_t>(frames.size());
    header.served = after == AfterLastFrame::repeat ? manyFrames
                    : after == AfterLastFrame::stop ? header.frames
                                                    : 0;
    std::ofstream file(m_folder / "frames", std::ios::binary);
    file.write(reinterpret_cast<const char*>(&header), sizeof header);
    for (const cv::Mat& frame : frames) {
        if (frame.type() != CV_8UC3 || frame.size() != frames[0].size()) {
            throw std::invalid_argument("the camera's frames differ");
        }
        for (int y = 0; y < frame.rows; ++y) {
            file.write(frame.ptr<char>(y), std::streamsize{3} * frame.cols);
        }
    }
    file.close();
    if (!file) {
        throw std::runtime_error("the camera's frames cannot be written");
    }
}

EmulatedCamera::EmulatedCamera() : EmulatedCamera("no camera") {}

} // namespace test
