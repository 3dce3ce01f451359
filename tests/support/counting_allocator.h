// An allocator of matrices that counts them and fails on demand.
#pragma once

#include <opencv2/core.hpp>

#include <atomic>

namespace test {

// Counts the matrices that it makes and frees, on any thread. It must outlive them.
class CountingAllocator : public cv::MatAllocator {
public:
    mutable std::atomic<int> made = 0;
    mutable std::atomic<int> alive = 0;
    mutable std::atomic<int> madeLarge = 0; // of 4 MB and more
    mutable std::atomic<int> toFail = 0;    // so many allocations from now on throw cv::Exception

    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        if (toFail > 0) {
            --toFail;
            CV_Error(cv::Error::StsNoMem, "as the test asked for");
        }
        cv::UMatData* const memory =
            cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, flags, usage);
        memory->currAllocator = this;
        ++made;
        madeLarge += memory->size >= std::size_t{4} << 20 ? 1 : 0;
        ++alive;
        return memory;
    }
    bool allocate(cv::UMatData* /*memory*/, cv::AccessFlag /*flags*/,
                  cv::UMatUsageFlags /*usage*/) const override {
        return false;
    }
    void deallocate(cv::UMatData* memory) const override {
        --alive;
        cv::Mat::getStdAllocator()->deallocate(memory);
    }
};

// Makes such an allocator the default one within its lifetime, as a host may.
class CountingDefault {
public:
    CountingDefault() { cv::Mat::setDefaultAllocator(&counting); }
    ~CountingDefault() { cv::Mat::setDefaultAllocator(m_usual); }
    CountingDefault(const CountingDefault&) = delete;
    CountingDefault& operator=(const CountingDefault&) = delete;

    CountingAllocator counting;

private:
    cv::MatAllocator* m_usual = cv::Mat::getDefaultAllocator(); // null would not mean it
};

} // namespace test
