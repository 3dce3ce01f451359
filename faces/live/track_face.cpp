#include "faces/live/live.h"

#include "bridge/cascade.h"
#include "bridge/display.h"
#include "bridge/guard.h"
#include "faces/face_tracking.h"

namespace tarvix {

// A camera that cannot be opened looks like success to the caller, on purpose.
int trackFace() {
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

} // namespace tarvix
