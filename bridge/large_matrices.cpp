#include "bridge/large_matrices.h"

#include "platform/system/large_pages.h"

namespace tarvix {

namespace {

// Keeps nothing of its own: the default allocator is named in what it makes, and frees it.
class AdvisedMatrices : public cv::MatAllocator {
public:
    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        cv::UMatData* const made =
            cv::Mat::getDefaultAllocator()->allocate(dims, sizes, type, data, step, flags, usage);
        if (made != nullptr && data == nullptr) { // given data is not ours to advise
            preferLargePages(made->data, made->size);
        }
        return made;
    }
    bool allocate(cv::UMatData* made, cv::AccessFlag flags,
                  cv::UMatUsageFlags usage) const override {
        return cv::Mat::getDefaultAllocator()->allocate(made, flags, usage);
    }
    void deallocate(cv::UMatData* made) const override {
        cv::Mat::getDefaultAllocator()->deallocate(made);
    }
};

} // namespace

cv::MatAllocator* largeMatrices() {
    static AdvisedMatrices allocator;
    return &allocator;
}

} // namespace tarvix
