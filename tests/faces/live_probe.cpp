// The live image with windows that only print what they are asked: OpenCV's functions are replaced
// here, which needs OpenCV as shared libraries.
//   live_probe track KEY...   trackFace; the keys are what waitKey returns, one after the other
//   live_probe camera         hasCamera
// Prints a line for the camera, for each call of a window's function, for each message, and the
// result. `displays` is the number of connections that are held, `white` the rectangle of white
// pixels.
#include "faces/live/live.h"

#include <afxwin.h>
#include <opencv2/core.hpp>
#include <opencv2/highgui.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

namespace {

char** nextKey = nullptr;

class Host : public CWinApp {
public:
    int DoMessageBox(LPCSTR text, UINT /*type*/, UINT /*helpId*/) override {
        std::string line = text;
        std::replace(line.begin(), line.end(), '\n', ' ');
        std::cout << "message " << line << std::endl;
        return IDOK;
    }
};

int openSockets() {
    int count = 0;
    for (const auto& file : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const std::string name = std::filesystem::read_symlink(file.path(), error).string();
        count += name.starts_with("socket:") ? 1 : 0;
    }
    return count;
}

const int inherited = openSockets();

int displays() {
    return openSockets() - inherited;
}

cv::Rect whitePixels(const cv::Mat& image) {
    cv::Mat isWhite;
    cv::inRange(image, cv::Scalar::all(255), cv::Scalar::all(255), isWhite);
    return cv::boundingRect(isWhite);
}

} // namespace

// Prints, and does what the real one does.
cv::VideoCapture::VideoCapture(int index, int backEnd) {
    std::cout << "camera " << index << ", back-end " << backEnd << '\n';
    *this = VideoCapture();
    open(index, backEnd);
}

void cv::namedWindow(const cv::String& name, int flags) {
    std::cout << "namedWindow " << name << ' ' << flags << ", displays " << displays() << '\n';
}

void cv::imshow(const cv::String& name, cv::InputArray image) {
    std::cout << "imshow " << name << ", displays " << displays() << ", white "
              << whitePixels(image.getMat()) << '\n';
}

int cv::waitKey(int milliseconds) {
    std::cout << "waitKey " << milliseconds << '\n';
    if (*nextKey == nullptr) {
        std::cout << "no key is left" << std::endl;
        std::_Exit(1);
    }
    return std::atoi(*nextKey++);
}

void cv::destroyWindow(const cv::String& name) {
    std::cout << "destroyWindow " << name << '\n';
}

int main(int argc, char** argv) {
    Host host;
    cv::setNumThreads(1);
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "track") {
        nextKey = argv + 2;
        const int result = tarvix::trackFace();
        std::cout << "result " << result << std::endl;
        return 0;
    }
    if (what == "camera") {
        const bool has = tarvix::hasCamera();
        std::cout << "result " << has << std::endl;
        return 0;
    }
    return 2;
}
