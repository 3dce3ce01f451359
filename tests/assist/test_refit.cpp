#include "assist/refit.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// View i has the rms of its number, less what was left out before it.
std::vector<double> asNumbered(const std::vector<std::size_t>& kept) {
    std::vector<double> rms;
    for (const std::size_t view : kept) {
        rms.push_back(static_cast<double>(view) / 10);
    }
    return rms;
}

TEST(Refit, NothingIsLeftOutUnasked) {
    const tarvix::Refit refit = tarvix::dropWorst(5, {}, [](const auto&) -> std::vector<double> {
        ADD_FAILURE() << "fitted for nothing";
        return {};
    });
    EXPECT_THAT(refit.kept, ElementsAre(0, 1, 2, 3, 4));
    EXPECT_THAT(refit.dropped, IsEmpty());
    EXPECT_TRUE(refit.isEnough);
}

TEST(Refit, TheWorstIsLeftOutEachTime) {
    int fits = 0;
    const tarvix::Refit refit = tarvix::dropWorst(6, {2, {}}, [&](const auto& kept) {
        ++fits;
        std::vector<double> rms = asNumbered(kept);
        if (fits == 1) {
            rms[1] = 9; // the worst one spoils the others: without it, view 5 is the worst
        }
        return rms;
    });
    EXPECT_EQ(fits, 2);
    EXPECT_THAT(refit.kept, ElementsAre(0, 2, 3, 4));
    ASSERT_EQ(refit.dropped.size(), 2U);
    EXPECT_EQ(refit.dropped[0].view, 1U);
    EXPECT_EQ(refit.dropped[0].rms, 9);
    EXPECT_EQ(refit.dropped[1].view, 5U);
}

TEST(Refit, UntilNoneIsAboveALimit) {
    const tarvix::Refit refit = tarvix::dropWorst(8, {0, 0.4}, asNumbered);
    EXPECT_THAT(refit.kept, ElementsAre(0, 1, 2, 3, 4));
    EXPECT_TRUE(refit.isEnough);
}

TEST(Refit, ThreeAreAlwaysLeft) {
    const tarvix::Refit number = tarvix::dropWorst(4, {3, {}}, asNumbered);
    EXPECT_THAT(number.kept, ElementsAre(0, 1, 2));
    EXPECT_FALSE(number.isEnough);
    const tarvix::Refit limit = tarvix::dropWorst(5, {0, 0.01}, asNumbered);
    EXPECT_THAT(limit.kept, ElementsAre(0, 1, 2));
    EXPECT_FALSE(limit.isEnough);
    const tarvix::Refit none = tarvix::dropWorst(0, {0, 1.0}, asNumbered);
    EXPECT_THAT(none.kept, IsEmpty());
}

} // namespace
