// What is said of a correction, and the canvases for it.
#include "assist/canvas.h"
#include "assist/correction.h"
#include "tests/assist/quads.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace {

using tarvix::Correction;
using tarvix::Quad;
using testing::ElementsAre;
using testing::IsEmpty;

const Quad box = {cv::Point2d(100, 80), {500, 80}, {500, 380}, {100, 380}};

std::vector<std::string> codesOf(const Correction& correction, cv::Size canvas = {640, 480}) {
    std::vector<std::string> codes;
    for (const tarvix::Remark& remark :
         tarvix::remarksOn(correction, correction.corrected, canvas)) {
        EXPECT_FALSE(remark.text.empty());
        EXPECT_NE(remark.text.back(), '.');
        codes.push_back(remark.code);
    }
    return codes;
}

// A view that determines the focal length, with a correction about which there is nothing to say.
Correction goodCorrection() {
    return {.image = {640, 480},
            .marked = test::seen({.aboutX = 30, .aboutY = 25}),
            .corrected = box,
            .pitchDeg = 30,
            .yawDeg = 25,
            .focalMm = 35};
}

TEST(MissedRightAngles, SumTheFourCorners) {
    EXPECT_NEAR(tarvix::missedRightAnglesDeg(box), 0, 1e-12);
    const double h = std::sqrt(3.0);
    EXPECT_NEAR(tarvix::missedRightAnglesDeg({cv::Point2d(0, 0), {4, 0}, {5, h}, {1, h}}), 120,
                1e-11);
    Quad bad = box;
    bad[2].x = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::isnan(tarvix::missedRightAnglesDeg(bad)));
}

TEST(FocalLength, FollowsFromTheVanishingPoints) {
    for (const double focal : {18.0, 35.0, 85.0}) {
        const auto found = tarvix::focalOfVanishingPoints(
            test::seen({.focalMm = focal, .aboutX = 20, .aboutY = -30, .aboutZ = 5}), {640, 480});
        ASSERT_TRUE(found.has_value());
        EXPECT_NEAR(*found, focal, 1e-6 * focal);
    }
}

TEST(FocalLength, IsOpenFaceOnAndTurnedAboutOneAxis) {
    const cv::Size image(640, 480);
    EXPECT_TRUE(tarvix::leavesFocalOpen(box, image));
    EXPECT_TRUE(tarvix::leavesFocalOpen(test::seen({.aboutX = 30}), image));
    EXPECT_TRUE(tarvix::leavesFocalOpen(test::seen({.aboutY = 30}), image));
    EXPECT_TRUE(tarvix::leavesFocalOpen(test::seen({.aboutX = 1, .aboutY = 2}), image));
    EXPECT_FALSE(tarvix::leavesFocalOpen(test::seen({.aboutX = 30, .aboutY = 25}), image));
    EXPECT_FALSE(tarvix::leavesFocalOpen(test::seen({.aboutX = -20, .aboutY = 35}), image));
}

TEST(Remarks, NothingIsSaidOfAGoodCorrection) {
    EXPECT_THAT(codesOf(goodCorrection()), IsEmpty());
}

TEST(Remarks, AnOpenFocalLengthMattersIfItWasSearched) {
    Correction c = goodCorrection();
    c.marked = test::seen({.aboutX = 30});
    EXPECT_THAT(codesOf(c), ElementsAre("focal-open"));
    c.searchedFocal = false;
    EXPECT_THAT(codesOf(c), IsEmpty());
}

TEST(Remarks, CornersThatNeedNoCorrection) {
    Correction c = goodCorrection();
    c.marked = box;
    c.focalMm = -4.5; // as the search gives it
    EXPECT_THAT(codesOf(c), ElementsAre("focal-open", "no-correction"));
    c.marked[1].y += 0.9; // half a pixel to either side
    c.searchedFocal = false;
    EXPECT_THAT(codesOf(c), ElementsAre("no-correction"));
    c.marked[1].y += 0.2;
    EXPECT_THAT(codesOf(c), IsEmpty());
}

TEST(Remarks, TheRimOfTheSearch) {
    for (double Correction::*const angle :
         {&Correction::pitchDeg, &Correction::yawDeg, &Correction::rollDeg}) {
        for (const double degrees : {60.05, -64.5}) {
            Correction c = goodCorrection();
            c.*angle = degrees;
            EXPECT_THAT(codesOf(c), ElementsAre("search-rim"));
            c.*angle = degrees > 0 ? 60 : -60;
            EXPECT_THAT(codesOf(c), IsEmpty());
        }
    }
    for (const double focal : {56.5, 0.5, -4.5}) {
        Correction c = goodCorrection();
        c.focalMm = focal;
        EXPECT_THAT(codesOf(c), ElementsAre("search-rim")) << focal;
        c.searchedFocal = false; // a known one may be any
        EXPECT_THAT(codesOf(c), IsEmpty()) << focal;
    }
}

TEST(Remarks, CornersThatNoRectangleExplains) {
    Correction c = goodCorrection();
    c.missedDeg = 1.9;
    EXPECT_THAT(codesOf(c), IsEmpty());
    c.missedDeg = 2.1;
    EXPECT_THAT(codesOf(c), ElementsAre("not-a-rectangle"));
    c.missedDeg = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(codesOf(c), ElementsAre("not-a-rectangle"));
}

TEST(Remarks, ACorrectedCornerOutsideTheCanvas) {
    EXPECT_THAT(codesOf(goodCorrection(), {498, 400}), ElementsAre("cut-off"));
    EXPECT_THAT(codesOf(goodCorrection(), {600, 378}), ElementsAre("cut-off"));
    EXPECT_THAT(codesOf(goodCorrection(), {499, 379}), IsEmpty());
    Correction c = goodCorrection();
    c.corrected[0].x = -2;
    EXPECT_THAT(codesOf(c), ElementsAre("cut-off"));
}

TEST(NaturalSize, KeepsTheProportionsAndShortensNoEdge) {
    const Quad marked = {cv::Point2d(0, 0), {300, 0}, {200, 100}, {0, 90}};
    const cv::Size2d wide = tarvix::naturalSize(marked, box, 1); // 400 : 300
    EXPECT_DOUBLE_EQ(wide.width, 300);
    EXPECT_DOUBLE_EQ(wide.height, 225);
    const Quad high = {cv::Point2d(0, 0), {10, 0}, {10, 40}, {0, 40}};
    const cv::Size2d tall = tarvix::naturalSize(marked, high, 0.5);
    EXPECT_DOUBLE_EQ(tall.width, 150);
    EXPECT_DOUBLE_EQ(tall.height, 600);
}

TEST(FittedCanvas, HoldsTheWholeImage) {
    const cv::Size image(640, 480);
    Quad shifted = box;
    for (cv::Point2d& p : shifted) {
        p += cv::Point2d(-300, 40);
    }
    const auto canvas = tarvix::fittedCanvas(box, shifted, image);
    ASSERT_TRUE(canvas.has_value());
    EXPECT_NEAR(canvas->size.width, 640, 1e-6);
    EXPECT_NEAR(canvas->size.height, 480, 1e-6);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_LE(cv::norm(canvas->outline[i] - tarvix::outlineOf(image)[i]), 1e-6);
        EXPECT_LE(cv::norm(canvas->corners[i] - box[i]), 1e-6);
    }
}

TEST(FittedCanvas, IsNoneIfTheHorizonCrossesTheImage) {
    const cv::Size image(640, 480);
    const Quad floor = test::seen({.focalMm = 18, .aboutX = -60});
    ASSERT_EQ(tarvix::refusalOf(floor), std::nullopt);
    EXPECT_FALSE(tarvix::fittedCanvas(floor, box, image).has_value());
    const Quad tilted = test::seen({.aboutX = -20});
    EXPECT_TRUE(tarvix::fittedCanvas(tilted, box, image).has_value());
}

} // namespace
