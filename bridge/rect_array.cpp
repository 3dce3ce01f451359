#include "bridge/rect_array.h"

#include "bridge/guard.h"

namespace tarvix {

RECT rectOf(const cv::Rect& rectangle) {
    RECT rect;
    rect.left = rectangle.x;
    rect.top = rectangle.y;
    rect.right = rectangle.x + rectangle.width;
    rect.bottom = rectangle.y + rectangle.height;
    return rect;
}

int collectRects(CArray<RECT, RECT&>& array, const std::function<std::vector<cv::Rect>()>& find) {
    const auto size = [&] { return static_cast<int>(array.GetSize()); };
    const auto collect = [&] {
        array.SetSize(0);
        const std::vector<cv::Rect> found = find();
        if (found.empty()) {
            failSilently();
        }
        for (const cv::Rect& rectangle : found) {
            RECT rect = rectOf(rectangle);
            array.Add(rect);
        }
        return size();
    };
    return showCvSwallowRest<int>(0, collect, size);
}

} // namespace tarvix
