// A camera for tests: device 0 of the video system. A program sees it if tarvix_emulated_camera is
// linked, or its library preloaded, into the program. Its calls come before the system's
// (camera_device.cpp).
#pragma once

#include "tests/support/environment.h"
#include "tests/support/files.h"
#include "tests/support/x_server.h"

#include <opencv2/core/mat.hpp>

#include <optional>
#include <vector>

namespace test {

enum class AfterLastFrame {
    repeat, // repeats the last one; not for ever, because a test that fails must end
    stop,   // an error, as from a camera that is unplugged
    never,  // that error before the first frame: the camera opens and delivers nothing
};

// Programs that are started within the scope find this camera. OpenCV's other camera back-ends are
// switched off.
class EmulatedCamera {
public:
    // Delivers these CV_8UC3 frames, all of one size, one after the other.
    EmulatedCamera(const std::vector<cv::Mat>& frames, AfterLastFrame after);

    // No camera, whatever this machine has.
    EmulatedCamera();

private:
    explicit EmulatedCamera(const char* fileName);

    TempFolder m_folder;
    ScopedEnvironment m_file;
    ScopedEnvironment m_backend{"OPENCV_VIDEOIO_PRIORITY_LIST", "V4L2"};
    // For programs built with the checkers: whole call stacks, which tell the leaks of others from
    // ours.
    ScopedEnvironment m_addressChecker;
    ScopedEnvironment m_leakChecker;
};

} // namespace test
