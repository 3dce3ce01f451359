// A camera for tests: device 0 of the video system, as a program sees it that
// tarvix_emulated_camera is linked, or its library preloaded, into. Its calls come before the
// system's (camera_device.cpp).
#pragma once

#include "tests/support/environment.h"
#include "tests/support/files.h"
#include "tests/support/x_server.h"

#include <opencv2/core/mat.hpp>

#include <optional>
#include <vector>

namespace test {

enum class AfterLastFrame {
    repeat, // the last one again and again; not for ever, because a test that fails must end
    stop,   // an error, as from a camera that was pulled out
    never,  // that error before the first frame: a camera that opens and delivers nothing
};

// The camera that programs find which are started within the scope. Other back-ends of OpenCV than
// the one for such devices are switched off.
class EmulatedCamera {
public:
    // Serves these CV_8UC3 frames, all of one size, one after the other.
    EmulatedCamera(const std::vector<cv::Mat>& frames, AfterLastFrame after);

    // No camera at all, whatever this machine has.
    EmulatedCamera();

private:
    explicit EmulatedCamera(const char* fileName);

    TempFolder m_folder;
    ScopedEnvironment m_file;
    ScopedEnvironment m_backend{"OPENCV_VIDEOIO_PRIORITY_LIST", "V4L2"};
    // For the checkers, if the programs are built with them: what others leak is theirs, which
    // whole call stacks show.
    ScopedEnvironment m_addressChecker;
    ScopedEnvironment m_leakChecker;
};

} // namespace test
