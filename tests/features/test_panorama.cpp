// tx_Stitch, called as a host calls it.
#include <tarvix/tarvix.h>

#include "features/panorama.h"
#include "tests/support/export_test.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/observed_bitmaps.h"

#include <gmock/gmock.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/features2d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <tuple>
#include <vector>

namespace {

using test::Dib;
using testing::IsEmpty;

class Stitch : public test::ExportTest {
protected:
    void SetUp() override { cv::theRNG().state = 4711; }

    std::string save(const std::string& name, const cv::Mat& image) {
        cv::imwrite(folder / name, image);
        return folder / name;
    }

    static Dib run(const std::vector<std::string>& paths) {
        CStringArray files;
        for (const std::string& path : paths) {
            files.Add(path.c_str());
        }
        return Dib(tx_Stitch(files));
    }

    // Three views that overlap by more than half.
    std::vector<std::string> overlapping();

    test::TempFolder folder;
};

// The photograph hangs as a poster before a camera that turns about its centre.
constexpr double focal = 700; // pixels
const cv::Size viewSize(480, 400);

const cv::Mat& poster() {
    static const cv::Mat photograph = [] {
        cv::Mat large;
        cv::resize(test::photo("building.jpg"), large, {}, 1.25, 1.25, cv::INTER_CUBIC);
        return large;
    }();
    return photograph;
}

cv::Mat cameraView(double yawDegrees) {
    const double yaw = yawDegrees * CV_PI / 180;
    const cv::Matx33d turn(std::cos(yaw), 0, std::sin(yaw), 0, 1, 0, -std::sin(yaw), 0,
                           std::cos(yaw));
    const cv::Matx33d camera(focal, 0, viewSize.width / 2.0, 0, focal, viewSize.height / 2.0, 0, 0,
                             1);
    const cv::Matx33d screen(focal, 0, poster().cols / 2.0, 0, focal, poster().rows / 2.0, 0, 0, 1);
    cv::Mat image;
    cv::warpPerspective(poster(), image, screen * turn * camera.inv(), viewSize,
                        cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_REFLECT);
    return image;
}

std::vector<std::string> Stitch::overlapping() {
    return {save("a.png", cameraView(-14)), save("b.png", cameraView(0)),
            save("c.png", cameraView(14))};
}

TEST_F(Stitch, ThreeOverlappingViewsGiveAWiderPanorama) {
    const std::vector<std::string> files = overlapping();
    const Dib panorama = run(files);
    ASSERT_NE(panorama, nullptr);
    EXPECT_THAT(host.messages, IsEmpty());
    EXPECT_EQ(panorama->m_bmi.bmiHeader.biBitCount, 24);
    const cv::Mat whole = test::matOf(*panorama);
    EXPECT_GT(whole.cols, viewSize.width * 5 / 4);

    // It contains the scene: where the source's features are found again in the panorama, the
    // panorama shows the source. The stitcher projects onto a sphere, so pieces are compared.
    const auto orb = cv::ORB::create(3000);
    std::vector<cv::KeyPoint> a, b;
    cv::Mat da, db;
    orb->detectAndCompute(poster(), cv::noArray(), a, da);
    orb->detectAndCompute(whole, cv::noArray(), b, db);
    std::vector<cv::DMatch> matches;
    cv::BFMatcher(cv::NORM_HAMMING, true).match(da, db, matches);
    std::vector<cv::Point2f> from, to;
    for (const cv::DMatch& m : matches) {
        if (m.distance < 40) {
            from.push_back(a[static_cast<std::size_t>(m.queryIdx)].pt);
            to.push_back(b[static_cast<std::size_t>(m.trainIdx)].pt);
        }
    }
    ASSERT_GT(from.size(), 50U);
    std::vector<unsigned char> inliers;
    const cv::Mat panoramaFromPoster = cv::findHomography(from, to, cv::RANSAC, 12, inliers);
    ASSERT_FALSE(panoramaFromPoster.empty());
    EXPECT_GT(cv::countNonZero(inliers), static_cast<int>(from.size()) / 2);
    // The scene's points at 14 degrees to either side are in the panorama.
    const auto side = static_cast<float>(focal * std::tan(14 * CV_PI / 180));
    const auto x = static_cast<float>(poster().cols) / 2, y = static_cast<float>(poster().rows) / 2;
    std::vector<cv::Point2f> ends = {{x - side, y}, {x, y}, {x + side, y}};
    cv::perspectiveTransform(ends, ends, panoramaFromPoster);
    for (const cv::Point2f& p : ends) {
        EXPECT_TRUE(cv::Rect({0, 0}, whole.size()).contains(p)) << p;
    }
    EXPECT_LT(ends[0].x, ends[1].x);
    EXPECT_LT(ends[1].x, ends[2].x);
    // Piece by piece it is the scene. Pieces are so small that the stitcher's sphere is flat.
    const cv::Size piece(64, 64);
    int textured = 0;
    const int reach = cvFloor(side);
    const cv::Point middle(poster().cols / 2, poster().rows / 2);
    for (int dx = -reach; dx <= reach; dx += 50) {
        for (int dy = -120; dy <= 120; dy += 60) {
            const cv::Mat wanted = poster()(cv::Rect(middle + cv::Point(dx - 32, dy - 32), piece));
            cv::Scalar mean, deviation;
            cv::meanStdDev(wanted, mean, deviation);
            if (deviation[1] < 30) {
                continue; // flat: would be found anywhere
            }
            cv::Mat likeness;
            cv::matchTemplate(whole, wanted, likeness, cv::TM_CCOEFF_NORMED);
            double best = 0;
            cv::minMaxLoc(likeness, nullptr, &best);
            EXPECT_GT(best, 0.7) << dx << ", " << dy;
            ++textured;
        }
    }
    EXPECT_GT(textured, 20);
}

TEST_F(Stitch, ViewsThatDoNotOverlapGiveNullSilently) {
    EXPECT_EQ(
        run({save("a.png", test::photo("home.jpg")), save("b.png", test::photo("fruits.jpg"))}),
        nullptr);
    EXPECT_EQ(run({save("c.png", cv::Mat(200, 300, CV_8UC3, cv::Scalar::all(90))),
                   save("d.png", test::noise(200, 300, CV_8UC3))}),
              nullptr);
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(Stitch, NoneAndOneGiveNullSilently) {
    EXPECT_EQ(run({}), nullptr);
    EXPECT_EQ(run({save("a.png", cameraView(0))}), nullptr);
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(Stitch, IdenticalImagesGiveTheSceneOrNullSilently) {
    const std::string file = save("a.png", cameraView(0));
    const Dib panorama = run({file, file});
    if (panorama != nullptr) {
        EXPECT_NEAR(test::matOf(*panorama).cols, viewSize.width, viewSize.width / 4);
    }
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(Stitch, AFileThatCannotBeReadGivesNullSilentlyInEveryPosition) {
    const std::vector<std::string> good = overlapping();
    std::ofstream(folder / "text.png") << "not an image\n";
    std::ofstream(folder / "empty.png");
    std::filesystem::create_directory(folder / "directory.png");
    for (const std::string& bad : {folder / "missing.png", folder / "text.png",
                                   folder / "empty.png", folder / "directory.png", std::string()}) {
        for (std::size_t at = 0; at <= good.size(); ++at) {
            std::vector<std::string> files = good;
            files.insert(files.begin() + static_cast<std::ptrdiff_t>(at), bad);
            EXPECT_EQ(run(files), nullptr) << bad << at;
        }
        EXPECT_EQ(run({bad}), nullptr);
    }
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(Stitch, TinyAndExtremeImagesGiveNullWithOneMessageAtMost) {
    const std::string good = save("a.png", cameraView(0));
    for (const cv::Size& size : {cv::Size(1, 1), cv::Size(3, 2), cv::Size(20000, 10)}) {
        const std::string bad = save("b.png", test::noise(size.height, size.width, CV_8UC3));
        for (const auto& files :
             {std::vector{good, bad}, std::vector{bad, good}, std::vector{bad, bad}}) {
            host.messages.clear();
            EXPECT_EQ(run(files), nullptr) << size;
            EXPECT_LE(host.messages.size(), 1U);
        }
    }
}

TEST_F(Stitch, RefusedCreateGivesNullSilently) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const std::vector<std::string> files = overlapping();
    test::failBitmapCreate(1);
    EXPECT_EQ(run(files), nullptr);
    EXPECT_THAT(host.messages, IsEmpty());
    test::failBitmapCreate(0);
}

TEST_F(Stitch, ExplainedIsTheSamePanoramaAndSaysWhatIsLeftOut) {
    // Two photographs of another scene, which match each other.
    const cv::Mat other = test::photo("home.jpg");
    std::vector<std::string> files = overlapping();
    files.insert(files.begin() + 1, save("d.png", other.colRange(0, 400)));
    files.push_back(save("e.png", other.colRange(100, 500)));
    const std::vector<bool> belongs = {true, false, true, true, false};
    const Dib panorama = run(files);
    ASSERT_NE(panorama, nullptr);
    cv::theRNG().state = 4711; // as at the beginning of the test
    const tarvix::ExplainedPanorama explained = tarvix::explainPanorama(tarvix::viewList(files));
    EXPECT_THAT(explained.image, test::IsIdenticalTo(test::matOf(*panorama)));
    ASSERT_EQ(explained.parts.size(), belongs.size());
    for (std::size_t i = 0; i < belongs.size(); ++i) {
        const tarvix::PanoramaPart& part = explained.parts[i];
        EXPECT_EQ(part.isUsed, belongs[i]) << i;
        EXPECT_LE(part.agreeing, part.matches) << i;
        EXPECT_NE(part.neighbour, static_cast<int>(i)) << i;
        ASSERT_GE(part.neighbour, 0) << i;
        EXPECT_TRUE(belongs.at(static_cast<std::size_t>(part.neighbour)))
            << "what is not joined joins nothing";
        if (belongs[i]) {
            EXPECT_GT(part.agreeing, 20) << i;
        } else {
            EXPECT_LT(part.agreeing, 10) << i;
        }
    }
}

TEST_F(Stitch, ExplainedFailuresHaveNoImage) {
    const std::string view = overlapping()[0];
    const std::vector<std::string> one = {view};
    const auto alone = tarvix::explainPanorama(tarvix::viewList(one));
    EXPECT_TRUE(alone.image.empty());
    ASSERT_EQ(alone.parts.size(), 1U);
    EXPECT_FALSE(alone.parts[0].isUsed);
    EXPECT_EQ(alone.parts[0].neighbour, -1);
    EXPECT_EQ(alone.parts[0].matches, 0);
    EXPECT_EQ(alone.parts[0].agreeing, 0);
    EXPECT_FALSE(alone.parts[0].isSameView);
    const std::vector<std::string> missing = {view, folder / "missing.png"};
    const auto unread = tarvix::explainPanorama(tarvix::viewList(missing));
    EXPECT_TRUE(unread.image.empty());
    EXPECT_TRUE(unread.parts.empty());
}

// The stitcher gives such a pair no confidence, and joins both if others hold them.
TEST_F(Stitch, ExplainedSaysWhatShowsTheSameAsAnother) {
    std::vector<std::string> files = overlapping();
    files.push_back(files[0]);
    const tarvix::ExplainedPanorama explained = tarvix::explainPanorama(tarvix::viewList(files));
    ASSERT_EQ(explained.parts.size(), 4U);
    for (const auto& [part, neighbour, isSameView] :
         {std::tuple(0, 3, true), std::tuple(3, 0, true), std::tuple(1, 2, false)}) {
        const tarvix::PanoramaPart& said = explained.parts.at(static_cast<std::size_t>(part));
        EXPECT_EQ(said.isSameView, isSameView) << part << ": " << said.agreeing << " of "
                                               << said.matches << " with " << said.neighbour;
        EXPECT_TRUE(!isSameView || said.neighbour == neighbour) << part;
    }
}

TEST(SameView, IsAPairWithoutConfidenceThatAgrees) {
    EXPECT_TRUE(tarvix::isSameView({.matches = 500, .agreeing = 480, .confidence = 0}));
    EXPECT_FALSE(tarvix::isSameView({.matches = 500, .agreeing = 450, .confidence = 2.8}));
    EXPECT_FALSE(tarvix::isSameView({.matches = 100, .agreeing = 38, .confidence = 0}));
    EXPECT_TRUE(tarvix::isSameView({.matches = 100, .agreeing = 39, .confidence = 0}));
    EXPECT_FALSE(tarvix::isSameView({.matches = 0, .agreeing = 0, .confidence = 0}));
    tarvix::PairAgreement unsure;
    unsure.agreeing = 9;
    EXPECT_TRUE(tarvix::isSameView(unsure));
}

// What a part holds after the pairs, in this order: the neighbour, and how many agree.
struct Offer {
    int neighbour;
    tarvix::PairAgreement pair;
};
tarvix::PanoramaPart after(const std::vector<Offer>& offers) {
    tarvix::PanoramaPart part;
    for (const Offer& offer : offers) {
        consider(part, offer.neighbour, offer.pair);
    }
    return part;
}

TEST(Consider, TakesTheOneWithWhichMostAgreeInAnyOrder) {
    const Offer few{0, {.matches = 90, .agreeing = 12, .confidence = 0.3}};
    const Offer most{2, {.matches = 70, .agreeing = 50, .confidence = 1.7}};
    const Offer asManyLater{4, {.matches = 200, .agreeing = 50, .confidence = 0.7}};
    const Offer none{3, {.matches = 0, .agreeing = 0, .confidence = 0}};
    std::vector<int> order = {0, 1, 2, 3};
    const std::vector<Offer> all = {few, most, asManyLater, none};
    do {
        std::vector<Offer> offers;
        offers.reserve(all.size());
        for (const int i : order) {
            offers.push_back(all.at(static_cast<std::size_t>(i)));
        }
        const tarvix::PanoramaPart part = after(offers);
        EXPECT_EQ(part.neighbour, 2);
        EXPECT_EQ(part.matches, 70);
        EXPECT_EQ(part.agreeing, 50);
        EXPECT_FALSE(part.isSameView);
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Consider, TakesTheFirstWhateverItIs) {
    for (const int neighbour : {0, 1, 7}) {
        const tarvix::PanoramaPart part = after({{neighbour, {}}});
        EXPECT_EQ(part.neighbour, neighbour);
        EXPECT_EQ(part.matches, 0);
        EXPECT_EQ(part.agreeing, 0);
        EXPECT_FALSE(part.isSameView);
    }
    EXPECT_TRUE(after({{1, {.matches = 500, .agreeing = 480, .confidence = 0}}}).isSameView);
}

TEST(Consider, KeepsTheFirstOfTwoOffersOfOneNeighbour) {
    const tarvix::PanoramaPart part =
        after({{1, {.matches = 90, .agreeing = 12, .confidence = 1}},
               {1, {.matches = 80, .agreeing = 12, .confidence = 1}}});
    EXPECT_EQ(part.matches, 90);
}

TEST(Consider, LetsWhatIsWorseChangeNothing) {
    const Offer sameView{0, {.matches = 500, .agreeing = 480, .confidence = 0}};
    const tarvix::PanoramaPart part =
        after({sameView, {1, {.matches = 900, .agreeing = 479, .confidence = 1.7}}});
    EXPECT_EQ(part.neighbour, 0);
    EXPECT_EQ(part.matches, 500);
    EXPECT_TRUE(part.isSameView);
}

} // namespace
