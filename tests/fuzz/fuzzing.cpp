#include "tests/fuzz/fuzzing.h"
#include "tests/support/images.h"
#include "tests/support/observed_bitmaps.h"

#include <opencv2/core.hpp>

#include <array>
#include <climits>
#include <cmath>
#include <limits>
#include <stdexcept>

#include <omp.h>

namespace fuzz {

namespace {

class LimitedMatrices : public cv::MatAllocator {
public:
    LimitedMatrices() { cv::Mat::setDefaultAllocator(this); }
    ~LimitedMatrices() override { cv::Mat::setDefaultAllocator(nullptr); }
    LimitedMatrices(const LimitedMatrices&) = delete;
    LimitedMatrices& operator=(const LimitedMatrices&) = delete;

    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        double bytes = CV_ELEM_SIZE(type);
        for (int i = 0; i < dims; ++i) {
            bytes *= sizes[i];
        }
        if (data == nullptr && bytes > 16e6) {
            CV_Error(cv::Error::StsNoMem, "more than the test allows");
        }
        return cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, flags, usage);
    }
    bool allocate(cv::UMatData* u, cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        return cv::Mat::getStdAllocator()->allocate(u, flags, usage);
    }
    void deallocate(cv::UMatData* u) const override { cv::Mat::getStdAllocator()->deallocate(u); }
};

struct Process {
    test::MessageCounter messages;
    test::Workplace workplace;
    LimitedMatrices limit;

    Process() {
        cv::setNumThreads(1);
        omp_set_num_threads(1);
    }
};

} // namespace

const test::Workplace& workplace() {
    static const Process process;
    return process.workplace;
}

int oddInt(Bytes& in) {
    constexpr std::array<int, 16> odd{INT_MIN, INT_MIN + 1, -65536,  -32769,     -32768, -1000,
                                      1000,    32767,       32768,   46341,      65535,  65536,
                                      1 << 20, 1 << 30,     INT_MAX, INT_MAX - 1};
    const int b = in.byte();
    return b < 0xF0 ? b - 16 : odd[static_cast<std::size_t>(b & 15)];
}

double oddDouble(Bytes& in) {
    const int b = in.byte();
    return b < 0xF0 ? b - 16 : in.take<double>();
}

test::Dib smallBitmap(int width, int height, int bitCount, const std::string& content) {
    test::Dib dib = test::makeDib(width, height, bitCount);
    const std::size_t bytes = dib->m_bmi.bmiHeader.biSizeImage;
    for (std::size_t i = 0; i < bytes && !content.empty(); ++i) {
        dib->m_pBits[i] = static_cast<unsigned char>(content[i % content.size()]);
    }
    return dib;
}

test::Outcome call(const char* name, test::Arguments& arguments) {
    static_cast<void>(workplace());
    const test::Export e = test::exportNamed(name);
    const long before = test::liveBitmaps();
    const test::Outcome outcome = test::run(e, arguments, e.passes & ~unsigned{test::passMemory});
    if (test::liveBitmaps() != before) {
        throw std::logic_error(std::string(name) + " left a bitmap behind");
    }
    return outcome;
}

} // namespace fuzz
