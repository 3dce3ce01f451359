#include "bridge/preview.h"

#include "bridge/dib_bridge.h"
#include "bridge/dib_view.h"

namespace tarvix {

std::optional<cv::Size> clientSize(HWND window) {
    RECT client{};
    if (GetClientRect(window, &client) == FALSE) {
        return {};
    }
    return cv::Size(client.right - client.left, client.bottom - client.top);
}

void drawInto(HWND window, const cv::Mat& image) {
    const DibPtr dib(MatToDib(image));
    if (dib != nullptr) {
        const DibView view = viewOf(*dib);
        dib->BitBlt(window, 0, 0, view.width, view.rows, 0, 0, SRCCOPY);
    }
}

} // namespace tarvix
