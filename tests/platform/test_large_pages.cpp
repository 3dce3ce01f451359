// Advice about large pages: which memory it reaches, and that bytes stay.
#include "platform/system/large_pages.h"
#include "tests/support/advised_memory.h"

#include <MorvelDib.h>
#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <cstdint>
#include <memory>

namespace {

using tarvix::preferLargePages;
using tarvix::smallestAdvised;
using test::advisedBytes;

constexpr std::size_t megabyte = std::size_t{1} << 20;
constexpr std::size_t largePage = 2 * megabyte;

// A block so large that the C library always maps it anew: no earlier advice reached it.
struct Area {
    static constexpr std::size_t bytes = 64 * megabyte;
    std::unique_ptr<unsigned char[]> owner{new unsigned char[bytes]};
    unsigned char* begin = owner.get();

    [[nodiscard]] std::optional<std::size_t> advised() const { return advisedBytes(begin, bytes); }
};

#define TARVIX_NEEDS_ADVICE(area)                                                                  \
    if (!(area).advised()) {                                                                       \
        GTEST_SKIP() << "the system does not say which memory is advised";                         \
    }                                                                                              \
    static_assert(true)

// Counted page by page rather than by the formula.
std::size_t pagesInside(const unsigned char* block, std::size_t bytes) {
    const auto begin = reinterpret_cast<std::uintptr_t>(block);
    std::size_t pages = 0;
    for (std::uintptr_t page = begin / largePage * largePage; page < begin + bytes;
         page += largePage) {
        pages += page >= begin && page + largePage <= begin + bytes ? 1 : 0;
    }
    return pages;
}

TEST(LargePages, AreThoseInTheBlockAsAWhole) {
    for (const std::size_t offset :
         {std::size_t{0}, std::size_t{1}, megabyte, largePage - 1, largePage, largePage + 1}) {
        for (const std::size_t bytes :
             {smallestAdvised, smallestAdvised + 1, 6 * megabyte - 1, 9 * megabyte}) {
            const Area area;
            TARVIX_NEEDS_ADVICE(area);
            EXPECT_EQ(area.advised(), 0U);
            // From an address that is a multiple of large pages, so that the edges are met.
            const auto address = reinterpret_cast<std::uintptr_t>(area.begin);
            unsigned char* const block =
                area.begin + (largePage - address % largePage) % largePage + offset;
            EXPECT_TRUE(preferLargePages(block, bytes));
            const std::size_t expected = pagesInside(block, bytes) * largePage;
            EXPECT_EQ(advisedBytes(block, bytes), expected) << offset << ' ' << bytes;
            EXPECT_EQ(area.advised(), expected) << "beyond the block, " << offset << ' ' << bytes;
        }
    }
}

TEST(LargePages, AreNotAskedForInSmallBlocks) {
    const Area area;
    EXPECT_FALSE(preferLargePages(area.begin, smallestAdvised - 1));
    EXPECT_FALSE(preferLargePages(area.begin, 0));
    EXPECT_FALSE(preferLargePages(nullptr, 0));
    EXPECT_FALSE(preferLargePages(nullptr, Area::bytes));
    TARVIX_NEEDS_ADVICE(area);
    EXPECT_EQ(area.advised(), 0U);
}

TEST(LargePages, KeepWrittenBytes) {
    const Area area;
    const auto byteAt = [](std::size_t i) {
        return static_cast<unsigned char>(i * 2654435761U >> 16);
    };
    const std::size_t written = 509 * (Area::bytes / 509 / 2);
    for (std::size_t i = 0; i < written; i += 509) {
        area.begin[i] = byteAt(i);
    }
    preferLargePages(area.begin, Area::bytes);
    for (std::size_t i = written; i < Area::bytes; i += 509) {
        area.begin[i] = byteAt(i);
    }
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < Area::bytes; i += 509) {
        wrong += area.begin[i] == byteAt(i) ? 0 : 1;
    }
    EXPECT_EQ(wrong, 0U);
}

TEST(LargePages, AreThoseOfLargeBitmaps) {
    CDib large;
    ASSERT_EQ(large.Create(4001, 3501, 24, nullptr, nullptr), 1);
    const std::size_t bytes = large.m_bmi.bmiHeader.biSizeImage;
    EXPECT_EQ(cv::countNonZero(cv::Mat(1, static_cast<int>(bytes), CV_8UC1, large.m_pBits)), 0);
    CDib little;
    ASSERT_EQ(little.CreateGray(1000, 1000), 1);
    TARVIX_NEEDS_ADVICE(Area());
    EXPECT_GT(advisedBytes(large.m_pBits, bytes), bytes - 2 * largePage);
    EXPECT_EQ(advisedBytes(little.m_pBits, 1000 * 1000), 0U);
}

} // namespace
