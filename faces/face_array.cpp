#include "faces/face_array.h"

#include "bridge/guard.h"
#include "faces/face_detection.h"

namespace tarvix {

int collectFaces(CArray<RECT, RECT&>& faces, const std::function<std::vector<cv::Rect>()>& detect) {
    const auto size = [&] { return static_cast<int>(faces.GetSize()); };
    const auto collect = [&] {
        faces.SetSize(0);
        const std::vector<cv::Rect> detections = detect();
        if (detections.empty()) {
            failSilently();
        }
        for (const cv::Rect& detection : detections) {
            RECT face = faceOf(detection);
            faces.Add(face);
        }
        return size();
    };
    return showCvSwallowRest<int>(0, collect, size);
}

} // namespace tarvix
