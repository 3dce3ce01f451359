#include "bridge/dib_bridge.h"

#include "bridge/dib_view.h"
#include "bridge/guard.h"
#include "platform/system/large_pages.h"

#include <cstring>

namespace tarvix {

namespace {

// Results are in fresh memory, which the system maps page by page at the first write, by small or
// large pages. A page fault in the middle of a long memcpy costs about a third of the copy, so each
// page is written to beforehand.
void copyRow(unsigned char* to, const unsigned char* from, std::size_t bytes) {
    if (bytes == 0) {
        return; // a matrix without columns has no memory, and memcpy takes no null pointer
    }
    constexpr std::size_t pageBytes = 4096; // too many writes if the system's pages are larger
    volatile unsigned char* const first = to;
    for (std::size_t i = 0; i < bytes; i += pageBytes) {
        first[i] = 0;
    }
    first[bytes - 1] = 0;
    std::memcpy(to, from, bytes);
}

} // namespace

cv::Mat DibToMat(const CDib& dib) {
    const DibView view = viewOf(dib);
    if (view.bits == nullptr || (view.bitCount != 8 && view.bitCount != 24)) {
        return {};
    }
    cv::Mat m(view.rows, view.width, view.bitCount == 8 ? CV_8UC1 : CV_8UC3);
    const std::size_t rowBytes = static_cast<std::size_t>(m.cols) * m.elemSize();
    preferLargePages(m.data, static_cast<std::size_t>(m.rows) * rowBytes);
    for (int r = 0; r < m.rows; ++r) {
        copyRow(m.ptr(r), view.lineFromTop(r), rowBytes);
    }
    return m;
}

DibPtr newDib(int rows, int columns, int type) {
    DibPtr dib(new CDib);
    int isMade = 1; // of other types none is made
    if (type == CV_8UC1) {
        isMade = dib->CreateGray(columns, rows);
    } else if (type == CV_8UC3) {
        isMade = dib->Create(columns, rows, 24, nullptr, nullptr);
    }
    if (isMade == 0) {
        return nullptr;
    }
    return dib;
}

CDib* MatToDib(const cv::Mat& m) {
    return swallowAll<CDib*>(nullptr, [&] {
        DibPtr dib = newDib(m.rows, m.cols, m.type());
        if (dib == nullptr) {
            failSilently();
        }
        if (m.type() == CV_8UC1 || m.type() == CV_8UC3) {
            const std::size_t rowBytes = static_cast<std::size_t>(m.cols) * m.elemSize();
            const DibView view = viewOf(*dib);
            for (int r = m.rows - 1; r >= 0; --r) { // upwards in memory
                copyRow(view.lineFromTop(r), m.ptr(r), rowBytes);
            }
        }
        return dib.release();
    });
}

} // namespace tarvix
