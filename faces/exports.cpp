#include <tarvix/faces.h>

#include "bridge/cascade.h"
#include "bridge/dib_bridge.h"
#include "bridge/guard.h"
#include "bridge/rect_array.h"
#include "faces/face_detection.h"
#include "faces/live/live.h"

using namespace tarvix;

// No conversion to grey, on purpose: OpenCV's message tells the user that 24 bits are refused.
int tx_FindFaces(CDib& image, CArray<RECT, RECT&>& faces) {
    cv::CascadeClassifier classifier;
    return collectRects(faces, [&] {
        loadCascade(classifier, "haarcascade_frontalface_alt.xml");
        cv::Mat grey = DibToMat(image);
        return detectFaces(classifier, grey, cv::Size(0, 0));
    });
}

int tx_TrackFace(const char* /*ignored*/) {
    return showCvSwallowRest<int>(0, trackFace, [] { return 1; });
}
