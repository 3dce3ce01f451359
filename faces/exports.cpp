#include <tarvix/faces.h>

#include "bridge/decimal_point.h"
#include "bridge/dib_bridge.h"
#include "bridge/display.h"
#include "bridge/executable_folder.h"
#include "bridge/guard.h"
#include "bridge/rect_array.h"
#include "faces/face_detection.h"
#include "faces/face_tracking.h"

using namespace tarvix;

namespace {

// Does not check whether the cascade was loaded, on purpose: if it is missing or is not a cascade,
// the first detection throws the cv::Exception that the user sees.
void loadCascade(cv::CascadeClassifier& classifier, const char* fileName) {
    const std::string path = besideExecutable(fileName);
    if (!path.empty()) {
        const DecimalPoint point;
        classifier.load(path);
    }
}

} // namespace

// No conversion to grey, on purpose: OpenCV's message tells the user that 24 bits are refused.
int tx_FindFaces(CDib& image, CArray<RECT, RECT&>& faces) {
    cv::CascadeClassifier classifier;
    return collectRects(faces, [&] {
        loadCascade(classifier, "haarcascade_frontalface_alt.xml");
        cv::Mat grey = DibToMat(image);
        return detectFaces(classifier, grey, cv::Size(0, 0));
    });
}

// A camera that cannot be opened looks like success to the caller, on purpose.
int tx_TrackFace(const char* /*ignored*/) {
    cv::CascadeClassifier classifier;
    const auto track = [&] {
        cv::VideoCapture camera(0, cv::CAP_ANY);
        if (!camera.isOpened()) {
            failSilently();
        }
        auto display = requireDisplay();
        openTrackingWindow();
        display.reset(); // the window has a connection of its own
        loadCascade(classifier, "lbpcascade_frontalface.xml");
        showLargestFace(camera, classifier);
        return 1;
    };
    const int result = showCvSwallowRest<int>(0, track, [] { return 1; });
    closeTrackingWindow();
    return result;
}
