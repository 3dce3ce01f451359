#include <tarvix/faces.h>

#include "bridge/dib_bridge.h"
#include "bridge/guard.h"
#include "faces/face_array.h"
#include "faces/face_detection.h"
#include "faces/face_tracking.h"

using namespace tarvix;

// No conversion to grey, on purpose: OpenCV's message tells the user that 24 bits do not do.
int tx_FindFaces(CDib& image, CArray<RECT, RECT&>& faces) {
    cv::CascadeClassifier classifier;
    return collectFaces(faces, [&] {
        loadBesideExecutable(classifier, "haarcascade_frontalface_alt.xml");
        cv::Mat grey = DibToMat(image);
        return detectFaces(classifier, grey, cv::Size(0, 0));
    });
}

// A camera that cannot be opened looks like success to the caller, on purpose.
int tx_TrackFace(const char* /*ignored*/) {
    cv::CascadeClassifier classifier;
    const auto track = [&] {
        trackLargestFace(classifier);
        return 1;
    };
    const int result = showCvSwallowRest<int>(0, track, [] { return 1; });
    closeTrackingWindow();
    return result;
}
