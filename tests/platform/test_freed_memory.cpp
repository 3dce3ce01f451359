// Whether freed memory is used again, counted in the pages that the system had to hand out.
#include "platform/system/free_memory.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <fstream>
#include <memory>
#include <vector>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr std::size_t megabyte = 1 << 20;

std::size_t pageBytes() {
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

long pagesSoFar() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

// Makes four images at a time, four times, and lets them go.
long pagesForImages(std::size_t imageBytes) {
    const long before = pagesSoFar();
    for (int round = 0; round < 4; ++round) {
        std::array<std::unique_ptr<volatile char[]>, 4> images;
        for (auto& image : images) {
            image.reset(new volatile char[imageBytes]);
            for (std::size_t i = 0; i < imageBytes; i += pageBytes()) {
                image[i] = 1;
            }
        }
    }
    return pagesSoFar() - before;
}

TEST(FreedMemory, OfImagesIsUsedAgain) {
    prctl(PR_SET_THP_DISABLE, 1); // one page fault for each page
    const auto pagesOf = [](std::size_t bytes) { return static_cast<long>(bytes / pageBytes()); };
    if (pagesForImages(3 * megabyte) < 10 * pagesOf(3 * megabyte)) {
        GTEST_SKIP() << "the C library keeps freed memory without being asked";
    }
    tarvix::keepFreedMemory();
    // The library maps blocks of a new size anew, unless it is told to keep them, too.
    for (const std::size_t bytes : {3 * megabyte, 20 * megabyte}) {
        pagesForImages(bytes);
        EXPECT_LT(pagesForImages(bytes), pagesOf(bytes)) << bytes;
    }
}

#if __GLIBC_PREREQ(2, 33)
std::size_t residentBytes() {
    std::size_t pages = 0;
    std::ifstream file("/proc/self/statm");
    file >> pages >> pages; // the second number
    return pages * pageBytes();
}

TEST(FreedMemory, AboveTheLimitIsGivenBack) {
    tarvix::keepFreedMemory();
    std::vector<std::unique_ptr<char[]>> images(30);
    for (auto& image : images) {
        image.reset(new char[10 * megabyte]);
        std::memset(image.get(), 1, 10 * megabyte);
    }
    // In use, and above all the others: the library cannot cut off what is free below it.
    const std::unique_ptr<volatile char[]> last(new volatile char[10 * megabyte]);
    images.resize(10);
    tarvix::limitFreedMemory();
    const std::size_t kept = residentBytes();
    images.clear();
    tarvix::limitFreedMemory();
    EXPECT_GT(kept, 280 * megabyte) << "200 MB are below the limit";
    EXPECT_LT(residentBytes(), 100 * megabyte);
}
#endif

} // namespace
