// Whether freed memory is used again, counted in the pages that the system had to hand out.
#include "platform/system/free_memory.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <array>
#include <memory>

namespace {

constexpr std::size_t imageBytes = 3 << 20;
constexpr long pageBytes = 4096;

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
            for (std::size_t i = 0; i < imageBytes; i += pageBytes) {
                image[i] = 1;
            }
        }
    }
    return pagesSoFar() - before;
}

TEST(FreedMemory, OfImagesIsUsedAgain) {
    constexpr long pagesOfImage = imageBytes / pageBytes;
    EXPECT_GT(pagesForImages(), 10 * pagesOfImage) << "it is returned: the setting is not needed";
    tarvix::keepFreedMemory();
    pagesForImages();
    EXPECT_LT(pagesForImages(), pagesOfImage);
}

} // namespace
