// Whether freed memory is used again, counted in the pages that the system had to hand out.
#include "platform/system/free_memory.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr std::size_t imageBytes = 3 << 20;

std::size_t pageBytes() {
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

long pagesSoFar() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

// Makes four images at a time, and lets them go.
long pagesForImages() {
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
    const auto pagesOfImage = static_cast<long>(imageBytes / pageBytes());
    if (pagesForImages() < 10 * pagesOfImage) {
        GTEST_SKIP() << "the C library keeps freed memory without being asked";
    }
    tarvix::keepFreedMemory();
    pagesForImages();
    EXPECT_LT(pagesForImages(), pagesOfImage);
}

} // namespace
