#include "bridge/bitmap_matrices.h"

#include "bridge/dib_bridge.h"
#include "bridge/dib_view.h"
#include "bridge/large_matrices.h"
#include "platform/system/large_pages.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

namespace tarvix {

namespace {

// A large bitmap for a result of this size and type, or null.
DibPtr newBitmap(int rows, int columns, int type) {
    const int bitCount = static_cast<int>(CV_ELEM_SIZE(type)) * 8;
    if ((type != CV_8UC1 && type != CV_8UC3) ||
        std::int64_t{storedRowBytes(columns, bitCount)} * rows <
            static_cast<std::int64_t>(smallestAdvised)) {
        return nullptr;
    }
    DibPtr dib = newDib(rows, columns, type);
    if (dib == nullptr) {
        return nullptr;
    }
    const DibView view = viewOf(*dib); // of a host's own class, perhaps
    const bool isAsAsked = view.bits != nullptr && view.rows == rows && view.width == columns &&
                           view.bitCount == bitCount;
    return isAsAsked ? std::move(dib) : nullptr;
}

// The header that OpenCV keeps of a matrix's memory has the bitmap as its `handle`.
class BitmapMatrices : public cv::MatAllocator {
public:
    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        DibPtr dib = dims == 2 && data == nullptr ? newBitmap(sizes[0], sizes[1], CV_MAT_TYPE(type))
                                                  : nullptr;
        if (dib == nullptr) {
            return largeMatrices()->allocate(dims, sizes, type, data, step, flags, usage);
        }
        const DibView view = viewOf(*dib);
        auto* const made = new cv::UMatData(this);
        made->data = made->origdata = view.bits;
        made->size = static_cast<std::size_t>(view.stride) * static_cast<std::size_t>(view.rows);
        step[0] = static_cast<std::size_t>(view.stride); // the other one is set already
        made->handle = dib.release();
        return made;
    }
    bool allocate(cv::UMatData* made, cv::AccessFlag flags,
                  cv::UMatUsageFlags usage) const override {
        return largeMatrices()->allocate(made, flags, usage);
    }
    void deallocate(cv::UMatData* made) const override {
        const DibPtr dib(static_cast<CDib*>(made->handle)); // null if the host has it
        delete made;
    }
};

// Whether the matrix is all of the memory of a bitmap, and nothing else is there.
bool isWholeBitmap(const cv::Mat& m) {
    if (m.u == nullptr || m.u->currAllocator != bitmapMatrices() || m.u->refcount != 1) {
        return false;
    }
    const DibView view = viewOf(*static_cast<const CDib*>(m.u->handle));
    return m.size() == cv::Size(view.width, view.rows);
}

void swapRows(unsigned char* a, unsigned char* b, std::size_t bytes) {
    std::array<unsigned char, 4096> held{};
    while (bytes > 0) {
        const std::size_t now = std::min(bytes, held.size());
        std::memcpy(held.data(), a, now);
        std::memcpy(a, b, now);
        std::memcpy(b, held.data(), now);
        a += now;
        b += now;
        bytes -= now;
    }
}

} // namespace

cv::MatAllocator* bitmapMatrices() {
    static BitmapMatrices allocator;
    return &allocator;
}

CDib* resultToDib(cv::Mat result) {
    if (!isWholeBitmap(result)) {
        return MatToDib(result);
    }
    const std::size_t rowBytes = static_cast<std::size_t>(result.cols) * result.elemSize();
    for (int top = 0, bottom = result.rows - 1; top < bottom; ++top, --bottom) {
        swapRows(result.ptr(top), result.ptr(bottom), rowBytes); // the top line is stored last
    }
    return static_cast<CDib*>(std::exchange(result.u->handle, nullptr));
}

} // namespace tarvix
