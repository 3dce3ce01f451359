// tx_MatchImages, called as a host calls it, and the steps behind it.
#include <tarvix/tarvix.h>

#include "features/registration.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/test_host.h"

#include <gmock/gmock.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/core/persistence.hpp>
#include <opencv2/flann.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <bit>
#include <climits>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>

namespace {

using test::IsIdenticalTo;
using testing::IsEmpty;

// Makes the random numbers of the descriptor index the same from here on in every run.
void seed() {
    cv::theRNG().state = 20240;
}

class MatchImages : public testing::Test {
protected:
    void SetUp() override { seed(); }

    std::string save(const std::string& name, const cv::Mat& image) {
        cv::imwrite(folder / name, image);
        return folder / name;
    }

    // Registers the files. The outputs are out0.png, out1.png ..., `names` of them.
    int run(const std::vector<std::string>& inputs, int names) {
        CStringArray in;
        CStringArray out;
        for (const std::string& path : inputs) {
            in.Add(path.c_str());
        }
        for (int i = 0; i < names; ++i) {
            out.Add(path(i).c_str());
        }
        return tx_MatchImages(in, out);
    }

    [[nodiscard]] std::string path(int output) const {
        return folder / ("out" + std::to_string(output) + ".png");
    }
    [[nodiscard]] cv::Mat output(int i) const { return cv::imread(path(i), cv::IMREAD_UNCHANGED); }
    [[nodiscard]] int written() const {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            count += entry.path().filename().string().rfind("out", 0) == 0 ? 1 : 0;
        }
        return count;
    }

    test::TempFolder folder;
    test::TestHost host;
};

// A part of a real photograph with its top-left corner at (x, y). Parts differ by pure
// translations.
cv::Mat part(int x, int y, cv::Size size = {420, 320}) {
    static const cv::Mat photograph = test::photo("building.jpg");
    return photograph(cv::Rect({x, y}, size)).clone();
}

// The image of a camera for which referenceFromImage holds. The scene is the photograph, shifted so
// that its (x, y) is the reference's origin.
cv::Mat view(const cv::Matx33d& referenceFromImage, int x, int y, cv::Size size = {420, 320}) {
    static const cv::Mat photograph = test::photo("building.jpg");
    const cv::Matx33d photographFromReference(1, 0, x, 0, 1, y, 0, 0, 1);
    cv::Mat image;
    cv::warpPerspective(photograph, image, photographFromReference * referenceFromImage, size,
                        cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_REFLECT);
    return image;
}

cv::Mat noisy(const cv::Mat& image, double sigma, double gain, double offset) {
    cv::Mat out;
    cv::Mat grain(image.size(), CV_16SC3);
    cv::RNG rng(17);
    rng.fill(grain, cv::RNG::NORMAL, 0, sigma);
    image.convertTo(out, CV_16SC3, gain, offset);
    out += grain;
    out.convertTo(out, CV_8UC3);
    return out;
}

cv::Matx33d rotation(double degrees, cv::Point2d centre) {
    cv::Mat m = cv::getRotationMatrix2D(centre, degrees, 1);
    m.push_back(cv::Mat(cv::Matx13d(0, 0, 1)));
    return {m};
}

// ---- the registration as a literal oracle, with bare numbers and every corner spelled out

struct Literal {
    std::vector<cv::Mat> homographies;
    int left = 0, top = 0;
    std::vector<cv::Mat> canvases;
};

Literal literal(const std::vector<cv::Mat>& images) {
    Literal result;
    const auto orb = cv::ORB::create(500, 1.2F, 8, 31, 0, 2, cv::ORB::HARRIS_SCORE, 31, 20);
    const auto brisk = cv::BRISK::create(30, 3, 1.0F);
    std::vector<cv::KeyPoint> referenceKeypoints;
    cv::Mat referenceDescriptors;
    orb->detect(images[0], referenceKeypoints);
    brisk->compute(images[0], referenceKeypoints, referenceDescriptors);
    int right = images[0].cols, bottom = images[0].rows;
    for (std::size_t k = 1; k < images.size(); ++k) {
        std::vector<cv::KeyPoint> keypoints;
        cv::Mat descriptors, indices, dists;
        orb->detect(images[k], keypoints);
        brisk->compute(images[k], keypoints, descriptors);
        cv::flann::Index index(referenceDescriptors, cv::flann::LshIndexParams(12, 20, 2),
                               cvflann::FLANN_DIST_HAMMING);
        index.knnSearch(descriptors, indices, dists, 2, cv::flann::SearchParams(32, 0, true));
        std::vector<cv::Point2f> from, to;
        for (int j = 0; j < dists.rows; ++j) {
            const int d0 = dists.at<int>(j, 0), d1 = dists.at<int>(j, 1);
            if (d1 < INT_MAX && d0 <= std::nearbyint(0.6 * d1)) {
                from.push_back(keypoints.at(static_cast<std::size_t>(j)).pt);
                to.push_back(
                    referenceKeypoints.at(static_cast<std::size_t>(indices.at<int>(j, 0))).pt);
            }
        }
        if (from.size() < 8) {
            continue;
        }
        std::vector<uchar> inliers;
        const cv::Mat h = cv::findHomography(from, to, 8, 1.0, inliers, 2000, 0.995);
        result.homographies.push_back(h);
        const auto w = static_cast<float>(images[k].cols);
        const auto t = static_cast<float>(images[k].rows);
        const std::vector<cv::Point2f> corners = {{0, 0}, {w, 0}, {w, t}, {0, t}};
        std::vector<cv::Point2f> p;
        cv::perspectiveTransform(corners, p, h);
        const auto r = [](float v) { return static_cast<int>(v >= 0 ? v + 0.5 : v - 0.5); };
        result.left = std::min(result.left, std::min(r(p[0].x), r(p[3].x)));
        result.top = std::min(result.top, std::min(r(p[0].y), r(p[1].y)));
        right = std::max(right, std::max(r(p[1].x), r(p[2].x)));
        bottom = std::max(bottom, std::max(r(p[2].y), r(p[3].y)));
    }
    cv::Mat canvas(bottom - result.top, right - result.left, CV_8UC3, cv::Scalar::all(0));
    images[0].copyTo(canvas(cv::Rect(-result.left, -result.top, images[0].cols, images[0].rows)));
    result.canvases.push_back(canvas.clone());
    for (std::size_t k = 1; k <= result.homographies.size(); ++k) {
        cv::Mat h = result.homographies[k - 1].clone();
        h.at<double>(0, 2) -= result.left;
        h.at<double>(1, 2) -= result.top;
        cv::Mat warped;
        cv::warpPerspective(images[k], warped, h, images[k].size(), 1, 0, cv::Scalar());
        canvas = cv::Mat::zeros(canvas.size(), CV_8UC3);
        warped.copyTo(canvas(cv::Rect(0, 0, warped.cols, warped.rows)));
        result.canvases.push_back(canvas.clone());
    }
    return result;
}

TEST_F(MatchImages, FilesEqualTheLiteralCalls) {
    const std::vector<cv::Mat> images = {
        part(200, 150), noisy(part(150, 120), 3, 1.1, 5),
        view(rotation(8, {200, 150}) * cv::Matx33d(1, 0, 40, 0, 1, -30, 0, 0, 1), 200, 150),
        view({1, 0.05, -20, -0.04, 1, 15, 1e-4, -8e-5, 1}, 200, 150)};
    std::vector<std::string> files;
    for (std::size_t i = 0; i < images.size(); ++i) {
        files.push_back(save("in" + std::to_string(i) + ".png", images[i]));
    }
    seed();
    const Literal expected = literal(images);
    ASSERT_EQ(expected.homographies.size(), 3U);
    EXPECT_LT(expected.left, 0);
    EXPECT_LT(expected.top, 0);
    seed();
    EXPECT_EQ(run(files, 4), 1);
    EXPECT_THAT(host.messages, IsEmpty());
    EXPECT_EQ(written(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_THAT(output(i), IsIdenticalTo(expected.canvases[static_cast<std::size_t>(i)])) << i;
    }
}

// ---- the contents of the files

TEST_F(MatchImages, OneFileIsWrittenUnchanged) {
    const cv::Mat image = part(100, 100);
    EXPECT_EQ(run({save("in.png", image)}, 1), 1);
    EXPECT_EQ(written(), 1);
    EXPECT_THAT(output(0), IsIdenticalTo(image));
    EXPECT_THAT(host.messages, IsEmpty());
}

// Keypoints of coarse pyramid levels are on a coarse grid. So a known outline is found within two
// pixels, and what is near an image's middle within one.
constexpr int outlineTolerance = 2;
constexpr double shiftTolerance = 1;

void expectSize(const cv::Mat& image, cv::Size expected) {
    EXPECT_NEAR(image.cols, expected.width, outlineTolerance);
    EXPECT_NEAR(image.rows, expected.height, outlineTolerance);
}

// How far the content of one image is shifted in another of the same size.
double shiftBetween(const cv::Mat& a, const cv::Mat& b) {
    cv::Mat greyA, greyB, window;
    cv::cvtColor(a, greyA, cv::COLOR_BGR2GRAY);
    cv::cvtColor(b, greyB, cv::COLOR_BGR2GRAY);
    greyA.convertTo(greyA, CV_64F);
    greyB.convertTo(greyB, CV_64F);
    cv::createHanningWindow(window, a.size(), CV_64F);
    return cv::norm(cv::phaseCorrelate(greyA, greyB, window));
}

TEST_F(MatchImages, ShiftToTheRightGrowsTheCanvasToTheRight) {
    const cv::Mat reference = part(100, 100), shifted = part(190, 100);
    EXPECT_EQ(run({save("a.png", reference), save("b.png", shifted)}, 2), 1);
    ASSERT_EQ(written(), 2);
    expectSize(output(0), {510, 320});
    const cv::Rect atTheLeft(0, output(0).rows - 320, 420, 320);
    EXPECT_THAT(output(0)(atTheLeft), IsIdenticalTo(reference));
    EXPECT_EQ(cv::countNonZero(output(0).colRange(420, output(0).cols).clone().reshape(1)), 0);
    EXPECT_EQ(output(1).size(), output(0).size());
    EXPECT_LT(shiftBetween(output(1)(cv::Rect(95, 5, 320, 310)).clone(),
                           shifted(cv::Rect(5, 5, 320, 310)).clone()),
              shiftTolerance);
}

// On purpose: a warped image is cut to its own size, though the canvas is wider.
TEST_F(MatchImages, AWarpedImageIsCutToItsOwnSize) {
    EXPECT_EQ(run({save("a.png", part(100, 100)), save("b.png", part(190, 140))}, 2), 1);
    expectSize(output(1), {510, 360});
    EXPECT_EQ(cv::countNonZero(output(1).colRange(420, output(1).cols).clone().reshape(1)), 0);
    EXPECT_EQ(cv::countNonZero(output(1).rowRange(320, output(1).rows).clone().reshape(1)), 0);
    EXPECT_GT(cv::countNonZero(output(1).col(410).clone().reshape(1)), 0);
}

TEST_F(MatchImages, ShiftUpAndLeftMovesTheReferenceOnTheCanvas) {
    const cv::Mat reference = part(150, 120), shifted = part(90, 80);
    EXPECT_EQ(run({save("a.png", reference), save("b.png", shifted)}, 2), 1);
    expectSize(output(0), {480, 360});
    const cv::Rect lowerRight({output(0).cols - 420, output(0).rows - 320}, reference.size());
    EXPECT_THAT(output(0)(lowerRight), IsIdenticalTo(reference));
    ASSERT_EQ(output(1).size(), output(0).size());
    EXPECT_LT(shiftBetween(output(1)(cv::Rect({0, 0}, shifted.size())).clone(), shifted),
              shiftTolerance + 0.5); // the outline's own rounding
}

TEST_F(MatchImages, ThreeThatAllRegisterShareOneCanvasThatHoldsTheReference) {
    EXPECT_EQ(run({save("a.png", part(200, 150)), save("b.png", part(120, 190)),
                   save("c.png", noisy(part(260, 100), 2, 0.9, 10))},
                  3),
              1);
    ASSERT_EQ(written(), 3);
    // Left -80 from the second, right 480 and top -50 from the third, bottom 360 from the second.
    expectSize(output(0), {560, 410});
    EXPECT_EQ(output(1).size(), output(0).size());
    EXPECT_EQ(output(2).size(), output(0).size());
    bool found = false; // at (80, 50), give or take
    for (int y = 50 - outlineTolerance; y <= 50 + outlineTolerance; ++y) {
        for (int x = 80 - outlineTolerance; x <= 80 + outlineTolerance; ++x) {
            const cv::Rect place({x, y}, cv::Size(420, 320));
            found = found || ((place & cv::Rect({0, 0}, output(0).size())) == place &&
                              testing::Value(output(0)(place), IsIdenticalTo(part(200, 150))));
        }
    }
    EXPECT_TRUE(found);
}

// On purpose: the projective row stays when a homography is moved into the canvas, which is exact
// only without perspective.
TEST_F(MatchImages, OnlyTheTranslationIsMovedIntoTheCanvas) {
    const cv::Mat reference = part(250, 150);
    const cv::Mat image = view({1, 0.02, -70, -0.02, 1, -50, 4e-4, -2e-4, 1}, 250, 150);
    seed();
    const Literal expected = literal({reference, image});
    ASSERT_EQ(expected.homographies.size(), 1U);
    ASSERT_LT(expected.left, -20);
    seed();
    EXPECT_EQ(run({save("a.png", reference), save("b.png", image)}, 2), 1);
    EXPECT_THAT(output(1), IsIdenticalTo(expected.canvases[1]));
    // The exact move has another result.
    const cv::Matx33d canvasFromReference(1, 0, -expected.left, 0, 1, -expected.top, 0, 0, 1);
    cv::Mat exact;
    cv::warpPerspective(image, exact, canvasFromReference * cv::Matx33d(expected.homographies[0]),
                        image.size());
    EXPECT_GT(cv::norm(exact, output(1)(cv::Rect({0, 0}, image.size())).clone(), cv::NORM_L1) /
                  static_cast<double>(image.total() * 3),
              2);
}

// ---- recovery of a known homography

// How far the middle and the worst corner of an image are from where they should be.
struct Misfit {
    double middle, corner;
};

Misfit misfit(const cv::Mat& found, const cv::Matx33d& truth, cv::Size size) {
    const auto w = static_cast<float>(size.width), h = static_cast<float>(size.height);
    const std::vector<cv::Point2f> points = {{w / 2, h / 2}, {0, 0}, {w, 0}, {w, h}, {0, h}};
    std::vector<cv::Point2f> a, b;
    cv::perspectiveTransform(points, a, found);
    cv::perspectiveTransform(points, b, truth);
    Misfit m{cv::norm(a[0] - b[0]), 0};
    for (std::size_t i = 1; i < 5; ++i) {
        m.corner = std::max(m.corner, cv::norm(a[i] - b[i]));
    }
    return m;
}

tarvix::PointPairs pairsOf(const cv::Mat& reference, const cv::Mat& image) {
    const tarvix::FeatureFinder finder;
    const tarvix::Features r = finder.find(reference), f = finder.find(image);
    return tarvix::goodMatches(tarvix::twoNearest(f.descriptors, r.descriptors), f.keypoints,
                               r.keypoints);
}

TEST_F(MatchImages, KnownViewsAreRecovered) {
    const cv::Mat reference = part(200, 140);
    const std::vector<cv::Matx33d> views = {
        {1, 0, 35, 0, 1, -20, 0, 0, 1},
        rotation(5, {210, 160}),
        rotation(-25, {210, 160}),
        {1, 0.03, -12, -0.02, 1.02, 9, 1e-4, -5e-5, 1},
    };
    for (const cv::Matx33d& referenceFromImage : views) {
        const cv::Mat clean = view(referenceFromImage, 200, 140);
        for (const cv::Mat& image :
             {clean, noisy(clean, 4, 1, 0), noisy(clean, 0, 0.8, 20), noisy(clean, 3, 1.15, -8)}) {
            const tarvix::PointPairs pairs = pairsOf(reference, image);
            ASSERT_GE(pairs.image.size(), tarvix::fewestMatches) << referenceFromImage;
            const Misfit m =
                misfit(tarvix::estimateHomography(pairs), referenceFromImage, image.size());
            // Keypoints of the coarse pyramid levels lie on a grid of up to four pixels.
            EXPECT_LT(m.middle, 1) << referenceFromImage;
            EXPECT_LT(m.corner, 8) << referenceFromImage;
        }
    }
}

TEST_F(MatchImages, RealPairOfAPlaneMatchesTheMeasuredHomography) {
    // A wall, photographed from two very different places, with its measured homography.
    cv::Mat truth;
    cv::FileStorage(test::photoPath("H1to3p.xml"), cv::FileStorage::READ)["H13"] >> truth;
    ASSERT_EQ(truth.size(), cv::Size(3, 3));
    const cv::Mat image = test::photo("graf1.png");
    const tarvix::PointPairs pairs = pairsOf(test::photo("graf3.png"), image);
    ASSERT_GE(pairs.image.size(), tarvix::fewestMatches);
    EXPECT_LT(misfit(tarvix::estimateHomography(pairs), cv::Matx33d(truth), image.size()).middle,
              10);
}

TEST_F(MatchImages, RealStereoPairIsShiftedSidewaysAndWritten) {
    EXPECT_EQ(run({test::photoPath("aloeL.jpg"), test::photoPath("aloeR.jpg")}, 2), 1);
    ASSERT_EQ(written(), 2);
    const cv::Mat left = test::photo("aloeL.jpg");
    ASSERT_EQ(output(0).size(), output(1).size());
    EXPECT_GT(output(0).cols, left.cols);
    const std::vector<cv::Point2f> centre = {{641, 555}};
    std::vector<cv::Point2f> seen;
    cv::perspectiveTransform(centre, seen,
                             tarvix::estimateHomography(pairsOf(left, test::photo("aloeR.jpg"))));
    EXPECT_NEAR(seen[0].y, 555, 10);
    EXPECT_GT(seen[0].x, 641 + 10);
}

TEST_F(MatchImages, RealPairWithTooFewMatchesIsLeftOut) {
    const std::string box = test::photoPath("box.png"), shelf = test::photoPath("box_in_scene.png");
    EXPECT_LT(pairsOf(test::photo("box_in_scene.png"), test::photo("box.png")).image.size(),
              tarvix::fewestMatches);
    EXPECT_EQ(run({shelf, box}, 2), 1);
    EXPECT_EQ(written(), 0);
    EXPECT_THAT(host.messages, IsEmpty());
}

// An image with exactly so many good matches: more and more of a view is painted over.
cv::Mat withMatches(const cv::Mat& reference, std::size_t wanted) {
    const cv::Mat whole = noisy(reference, 3, 1.1, 5);
    const auto partOf = [&](int height) {
        cv::Mat image = whole.clone();
        image.rowRange(height, image.rows).setTo(cv::Scalar::all(90));
        return image;
    };
    const auto matches = [&](const cv::Mat& image) {
        seed();
        return pairsOf(reference, image).image.size();
    };
    int height = whole.rows;
    while (height > 8 && matches(partOf(height)) >= wanted) {
        height -= 8;
    }
    for (; height < whole.rows; ++height) {
        cv::Mat image = partOf(height);
        if (matches(image) == wanted) {
            return image;
        }
    }
    return {};
}

TEST_F(MatchImages, EightMatchesAreEnoughAndSevenAreNot) {
    const cv::Mat reference = part(200, 150, {240, 200});
    const std::string file = save("a.png", reference);
    const tarvix::SetMatcher matcher(reference);
    for (const std::size_t matches : {7U, 8U}) {
        const cv::Mat image = withMatches(reference, matches);
        ASSERT_FALSE(image.empty()) << "no view has " << matches << " matches";
        seed();
        const tarvix::SetMatch match = matcher.match(image);
        EXPECT_EQ(match.matches, matches);
        EXPECT_EQ(match.referenceFromImage.empty(), matches < 8) << matches;
        seed();
        EXPECT_EQ(run({file, save(std::to_string(matches) + ".png", image)}, 2), 1);
        EXPECT_EQ(written(), matches < 8 ? 0 : 2);
    }
}

// ---- names and images that do not match

TEST_F(MatchImages, OneFileAndTwoNamesWriteNothingAndReturnOne) {
    EXPECT_EQ(run({save("a.png", part(100, 100))}, 2), 1);
    EXPECT_EQ(run({folder / "a.png"}, 0), 1);
    EXPECT_EQ(written(), 0);
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(MatchImages, WrongNumberOfNamesWritesNothingAndReturnsOne) {
    const std::vector<std::string> files = {save("a.png", part(100, 100)),
                                            save("b.png", part(160, 120))};
    for (const int names : {0, 1, 3}) {
        EXPECT_EQ(run(files, names), 1);
        EXPECT_EQ(written(), 0) << names;
    }
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(MatchImages, NoInputThrowsTheInvalidArgumentException) {
    EXPECT_THROW(run({}, 0), CInvalidArgException*);
    EXPECT_THROW(run({}, 1), CInvalidArgException*);
    EXPECT_EQ(written(), 0);
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(MatchImages, AnImageWithoutMatchesAndAllNamesWriteNothing) {
    EXPECT_EQ(run({save("a.png", part(100, 100)),
                   save("flat.png", cv::Mat(320, 420, CV_8UC3, cv::Scalar(9, 99, 200))),
                   save("c.png", part(160, 120))},
                  3),
              1);
    EXPECT_EQ(written(), 0);
    EXPECT_THAT(host.messages, IsEmpty());
}

// On purpose: the k-th input takes the k-th stored homography and name. So both move up after an
// image that was left out, and the call throws the class library's exception.
TEST_F(MatchImages, ThePairingShiftsAfterAnImageThatWasLeftOut) {
    const cv::Mat reference = part(100, 100), shifted = part(160, 120);
    const cv::Mat flat(320, 420, CV_8UC3, cv::Scalar(9, 99, 200));
    seed();
    const Literal pair = literal({reference, shifted});
    ASSERT_EQ(pair.homographies.size(), 1U);
    seed();
    EXPECT_THROW(run({save("a.png", reference), save("flat.png", flat), save("c.png", shifted)}, 2),
                 CInvalidArgException*);
    // The files written before stay: the reference, and the flat image in the third one's place.
    ASSERT_EQ(written(), 2);
    EXPECT_THAT(output(0), IsIdenticalTo(pair.canvases[0]));
    const cv::Mat second = output(1);
    expectSize(second, {480, 340});
    EXPECT_EQ(second.at<cv::Vec3b>(200, 300), cv::Vec3b(9, 99, 200));
    EXPECT_EQ(second.at<cv::Vec3b>(10, 30), cv::Vec3b(0, 0, 0));
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(MatchImages, LeftOutAtTheEndStopsAfterTheLastName) {
    EXPECT_THROW(run({save("a.png", part(100, 100)), save("b.png", part(160, 120)),
                      save("flat.png", cv::Mat(320, 420, CV_8UC3, cv::Scalar::all(7)))},
                     2),
                 CInvalidArgException*);
    EXPECT_EQ(written(), 2);
}

TEST_F(MatchImages, AWarpedImageLargerThanTheCanvasEndsInOpenCvsMessage) {
    const cv::Mat reference = part(100, 100);
    cv::Mat enlarged;
    cv::resize(reference, enlarged, {}, 1.5, 1.5, cv::INTER_LINEAR);
    EXPECT_EQ(run({save("a.png", reference), save("b.png", enlarged)}, 2), 1);
    EXPECT_EQ(host.messages.size(), 1U);
    EXPECT_EQ(written(), 1) << "the file written before stays";
}

// ---- files that cannot be read or written

TEST_F(MatchImages, AnUnreadableFurtherFileEndsInOpenCvsMessage) {
    std::ofstream(folder / "text.png") << "not an image\n";
    std::ofstream(folder / "empty.png");
    std::filesystem::create_directory(folder / "directory.png");
    const std::string reference = save("a.png", part(100, 100));
    std::vector<unsigned char> bytes;
    cv::imencode(".png", part(100, 100), bytes);
    std::ofstream(folder / "cut.png", std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), 40);
    for (const char* bad : {"missing.png", "text.png", "empty.png", "directory.png", "cut.png"}) {
        for (const int names : {1, 2}) {
            host.messages.clear();
            EXPECT_EQ(run({reference, folder / bad}, names), 1) << bad;
            EXPECT_EQ(host.messages.size(), 1U) << bad;
            EXPECT_EQ(written(), 0) << bad;
        }
    }
}

TEST_F(MatchImages, AnUnreadableFileInTheMiddleEndsInOpenCvsMessage) {
    EXPECT_EQ(
        run({save("a.png", part(100, 100)), folder / "missing.png", save("c.png", part(160, 120))},
            2),
        1);
    EXPECT_EQ(host.messages.size(), 1U);
    EXPECT_EQ(written(), 0);
}

TEST_F(MatchImages, AReferenceWithFewerThanTwoDescriptorsEndsInOpenCvsMessage) {
    const std::string further = save("b.png", part(160, 120));
    const std::string flat = save("flat.png", cv::Mat(120, 160, CV_8UC3, cv::Scalar::all(90)));
    for (const std::string& reference : {folder / "missing.png", flat}) {
        host.messages.clear();
        EXPECT_EQ(run({reference, further}, 2), 1);
        EXPECT_EQ(host.messages.size(), 1U) << reference;
        EXPECT_EQ(written(), 0);
    }
    host.messages.clear();
    EXPECT_EQ(run({folder / "missing.png"}, 1), 1)
        << "without a further image, the canvas is refused";
    ASSERT_EQ(host.messages.size(), 1U);
    cv::Mat canvas(0, 0, CV_8UC3);
    try {
        cv::Mat().copyTo(canvas(cv::Rect(0, 0, 0, 0)));
        FAIL() << "OpenCV copies nothing without a word";
    } catch (const cv::Exception& e) {
        EXPECT_THAT(host.messages[0].text, testing::HasSubstr(e.err));
    }
}

// Its index draws random numbers, too, and the next image's index depends on them.
TEST_F(MatchImages, AnImageWithoutKeypointsStillBuildsItsIndex) {
    const std::vector<cv::Mat> images = {part(200, 150),
                                         cv::Mat(150, 200, CV_8UC3, cv::Scalar::all(90)),
                                         noisy(part(150, 120), 3, 1.1, 5)};
    std::vector<std::string> files;
    for (std::size_t i = 0; i < images.size(); ++i) {
        files.push_back(save("in" + std::to_string(i) + ".png", images[i]));
    }
    for (const std::uint64_t state : {1ULL, 20240ULL, 987654321ULL}) {
        cv::theRNG().state = state;
        const Literal expected = literal(images);
        ASSERT_EQ(expected.homographies.size(), 1U);
        const std::uint64_t after = cv::theRNG().state;
        cv::theRNG().state = state;
        // The pairing shifts after the image that was left out, so a name is missing at the end.
        EXPECT_THROW(run(files, 2), CInvalidArgException*);
        EXPECT_EQ(cv::theRNG().state, after);
        EXPECT_THAT(output(0), IsIdenticalTo(expected.canvases[0]));
        EXPECT_THAT(output(1), IsIdenticalTo(expected.canvases[1]));
    }
}

TEST_F(MatchImages, HostileImagesInEveryPosition) {
    const std::string good = save("a.png", part(100, 100));
    const std::vector<std::string> bad = {
        save("one.png", cv::Mat(1, 1, CV_8UC3, cv::Scalar::all(5))),
        save("strip.png", test::noise(10, 20000, CV_8UC3)),
        save("noise.png", test::noise(200, 300, CV_8UC3)),
        save("black.png", cv::Mat(50, 50, CV_8UC3, cv::Scalar::all(0)))};
    for (const std::string& file : bad) {
        for (const auto& inputs : {std::vector{good, file}, std::vector{file, good},
                                   std::vector{good, file, good}, std::vector{file, file}}) {
            for (int names = 0; names <= 4; ++names) {
                try {
                    EXPECT_EQ(run(inputs, names), 1);
                } catch (CInvalidArgException*) {
                    EXPECT_LE(names, static_cast<int>(inputs.size()));
                }
            }
        }
    }
}

TEST_F(MatchImages, NamesThatCannotBeWritten) {
    CStringArray in, out;
    in.Add(save("a.png", part(100, 100)).c_str());
    out.Add((folder / "no/such/folder/out.png").c_str());
    EXPECT_EQ(tx_MatchImages(in, out), 1); // the encoder's result is not checked
    EXPECT_THAT(host.messages, IsEmpty());
    out.SetAt(0, (folder / "out.nosuchformat").c_str());
    EXPECT_EQ(tx_MatchImages(in, out), 1);
    EXPECT_EQ(host.messages.size(), 1U);
    EXPECT_EQ(written(), 0);
}

// ---- the ratio test

TEST(RatioTest, BitsOfCountsFollowTheRoundedRule) {
    for (std::uint32_t d1 = 0; d1 <= 512; ++d1) {
        const double limit = std::nearbyint(0.6 * d1); // to nearest, ties to even
        for (std::uint32_t d0 = 0; d0 <= 512; ++d0) {
            ASSERT_EQ(tarvix::isClearlyNearest(d0, d1), d0 <= limit) << d0 << ", " << d1;
        }
    }
}

TEST(RatioTest, NoNeighbourIsNeverGood) {
    const std::uint32_t none = INT_MAX; // as a float: not a number
    for (std::uint32_t d = 0; d <= 512; ++d) {
        EXPECT_FALSE(tarvix::isClearlyNearest(d, none));
        EXPECT_FALSE(tarvix::isClearlyNearest(none, d));
    }
    EXPECT_FALSE(tarvix::isClearlyNearest(none, none));
    EXPECT_FALSE(tarvix::isClearlyNearest(UINT32_MAX, UINT32_MAX)); // -1
}

TEST(RatioTest, FloatsCompareAsFloats) {
    const auto good = [](float d0, float d1) {
        return tarvix::isClearlyNearest(std::bit_cast<std::uint32_t>(d0),
                                        std::bit_cast<std::uint32_t>(d1));
    };
    EXPECT_TRUE(good(0.6F, 1.0F));
    EXPECT_FALSE(good(std::nextafter(0.6F, 1.0F), 1.0F));
    EXPECT_TRUE(good(0, 0));
    EXPECT_FALSE(good(1, 1));
    EXPECT_TRUE(good(1, std::numeric_limits<float>::infinity()));
    EXPECT_FALSE(good(std::nanf(""), 1));
}

// ---- lists that are too short

tarvix::Neighbours neighbours(const std::vector<cv::Vec2i>& indices,
                              const std::vector<cv::Vec2i>& dists) {
    tarvix::Neighbours n;
    n.indices = cv::Mat(indices).reshape(1).clone();
    n.dists = cv::Mat(dists).reshape(1).clone();
    return n;
}

TEST(GoodMatches, RowOrderAndPositions) {
    const std::vector<cv::KeyPoint> image = {{1, 2, 1}, {3, 4, 1}, {5, 6, 1}};
    const std::vector<cv::KeyPoint> reference = {{10, 20, 1}, {30, 40, 1}};
    const tarvix::PointPairs pairs = tarvix::goodMatches(
        neighbours({{1, 0}, {0, 1}, {1, 0}}, {{6, 10}, {7, 10}, {0, 1}}), image, reference);
    EXPECT_THAT(pairs.image, testing::ElementsAre(cv::Point2f(1, 2), cv::Point2f(5, 6)));
    EXPECT_THAT(pairs.reference, testing::ElementsAre(cv::Point2f(30, 40), cv::Point2f(30, 40)));
}

TEST(GoodMatches, IndexOutsideTheListsThrowsOutOfRange) {
    const std::vector<cv::KeyPoint> one = {{1, 2, 1}};
    for (const int index : {-1, 1, INT_MAX, INT_MIN}) {
        EXPECT_THROW(tarvix::goodMatches(neighbours({{index, 0}}, {{1, 10}}), one, one),
                     std::out_of_range);
    }
    // More rows than keypoints.
    EXPECT_THROW(tarvix::goodMatches(neighbours({{0, 0}, {0, 0}}, {{1, 10}, {1, 10}}), one, one),
                 std::out_of_range);
    EXPECT_THROW(tarvix::goodMatches(neighbours({{0, 0}}, {{1, 10}}), {}, one), std::out_of_range);
    try {
        tarvix::goodMatches(neighbours({{-1, 0}}, {{1, 10}}), one, one);
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "invalid vector<T> subscript");
    }
    // An index that is not needed is not checked.
    EXPECT_TRUE(tarvix::goodMatches(neighbours({{-1, -1}}, {{9, 10}}), one, one).image.empty());
}

TEST(GoodMatches, NeighboursOfAnotherShapeEndInAnException) {
    const std::vector<cv::KeyPoint> two = {{1, 2, 1}, {3, 4, 1}};
    const tarvix::Neighbours good = neighbours({{0, 1}, {1, 0}}, {{1, 10}, {1, 10}});
    cv::Mat doubles;
    good.dists.convertTo(doubles, CV_64F);
    cv::Mat floats;
    good.indices.convertTo(floats, CV_32F);
    for (const auto& [indices, dists] :
         {std::pair(good.indices, good.dists.col(0).clone()), std::pair(good.indices, doubles),
          std::pair(good.indices.rowRange(0, 1).clone(), good.dists),
          std::pair(floats, good.dists)}) {
        EXPECT_THROW(tarvix::goodMatches({indices, dists}, two, two), cv::Exception);
    }
}

// What the installed OpenCV does with the calls as written: its result, or that it refuses them.
struct SearchOutcome {
    bool isRefused = false;
    tarvix::Neighbours found;
};
SearchOutcome literalSearch(const cv::Mat& descriptors, const cv::Mat& references) {
    SearchOutcome outcome;
    try {
        cv::flann::Index index(references, cv::flann::LshIndexParams(12, 20, 2),
                               cvflann::FLANN_DIST_HAMMING);
        index.knnSearch(descriptors, outcome.found.indices, outcome.found.dists, 2,
                        cv::flann::SearchParams(32, 0, true));
    } catch (const cv::Exception&) {
        outcome = {true, {}};
    }
    return outcome;
}

TEST(TwoNearest, FewOrNoDescriptorsOnEitherSideGiveWhatOpenCvGives) {
    const cv::Mat some = test::noise(5, 64, CV_8UC1);
    const cv::Mat noRows(0, 64, CV_8UC1);
    const std::vector<cv::Mat> sides{cv::Mat(), noRows, some.rowRange(0, 1).clone(),
                                     some.rowRange(0, 2).clone(), some};
    int refused = 0;
    for (std::size_t query = 0; query < sides.size(); ++query) {
        for (std::size_t reference = 0; reference < sides.size(); ++reference) {
            seed();
            const SearchOutcome expected = literalSearch(sides[query], sides[reference]);
            const std::uint64_t state = cv::theRNG().state;
            seed();
            SearchOutcome actual;
            try {
                actual.found = tarvix::twoNearest(sides[query], sides[reference]);
            } catch (const cv::Exception&) {
                actual.isRefused = true;
            }
            EXPECT_EQ(actual.isRefused, expected.isRefused) << query << ' ' << reference;
            EXPECT_THAT(actual.found.dists, IsIdenticalTo(expected.found.dists));
            EXPECT_THAT(actual.found.indices, IsIdenticalTo(expected.found.indices));
            EXPECT_EQ(cv::theRNG().state, state) << query << ' ' << reference;
            refused += expected.isRefused ? 1 : 0;
        }
    }
    EXPECT_GT(refused, 0);
}

TEST(TwoNearest, TheSecondOfTwoIsFoundOrMarkedAsMissing) {
    const cv::Mat some = test::noise(5, 64, CV_8UC1);
    const tarvix::Neighbours two = tarvix::twoNearest(some, some.rowRange(0, 2).clone());
    ASSERT_EQ(two.dists.size(), cv::Size(2, 5));
    ASSERT_EQ(two.dists.type(), CV_32SC1);
    EXPECT_EQ(two.indices.at<int>(0, 0), 0);
    EXPECT_EQ(two.dists.at<int>(0, 0), 0);
    for (int j = 0; j < 5; ++j) {
        EXPECT_EQ(two.indices.at<int>(j, 1) == -1, two.dists.at<int>(j, 1) == INT_MAX);
    }
}

TEST(GoodMatches, WithoutNeighboursThereAreNone) {
    const std::vector<cv::KeyPoint> keypoints(5, cv::KeyPoint(1, 1, 1));
    EXPECT_TRUE(tarvix::goodMatches({}, keypoints, keypoints).image.empty());
}

TEST(TwoNearest, FloatDescriptorsUseFloatDistances) {
    cv::Mat references(20, 8, CV_32F);
    cv::RNG(3).fill(references, cv::RNG::UNIFORM, 0, 100);
    const tarvix::Neighbours n = tarvix::twoNearest(references.rowRange(4, 6).clone(), references);
    ASSERT_EQ(n.dists.type(), CV_32FC1);
    ASSERT_EQ(n.dists.size(), cv::Size(2, 2));
    EXPECT_EQ(n.indices.at<int>(0, 0), 4);
    EXPECT_EQ(n.indices.at<int>(1, 0), 5);
    EXPECT_EQ(n.dists.at<float>(0, 0), 0.F);
}

TEST(EstimateHomography, CoincidentPointsGiveNoneOrOneThatIsRefusedLater) {
    tarvix::PointPairs pairs;
    pairs.image.assign(12, {50, 60});
    pairs.reference.assign(12, {50, 60});
    const cv::Mat h = tarvix::estimateHomography(pairs);
    if (h.empty()) {
        EXPECT_THROW(tarvix::projectedOutline(h, {100, 100}), cv::Exception);
    } else {
        tarvix::projectedOutline(h, {100, 100}); // whatever it holds, the outline is defined
    }
}

// ---- outline and canvas

TEST(ProjectedOutline, EmptyHomographyIsRefused) {
    EXPECT_THROW(tarvix::projectedOutline(cv::Mat(), {10, 10}), cv::Exception);
}

TEST(ProjectedOutline, RoundsHalfAwayFromZero) {
    const auto shifted = [](double x, double y) {
        return tarvix::projectedOutline(cv::Mat(cv::Matx33d(1, 0, x, 0, 1, y, 0, 0, 1)), {10, 20});
    };
    EXPECT_EQ(shifted(2.5, 3.5), cv::Rect(3, 4, 10, 20));
    EXPECT_EQ(shifted(-2.5, -3.5), cv::Rect(-3, -4, 11, 21)); // -3 .. 8, -4 .. 17
    EXPECT_EQ(shifted(-2.25, 0.25), cv::Rect(-2, 0, 10, 20));
    EXPECT_EQ(shifted(-0.5, 0.5), cv::Rect(-1, 1, 11, 20));
}

// On purpose: each side is taken from a fixed pair of corners, not from the extremes of all four.
TEST(ProjectedOutline, FixedPairsOfCorners) {
    const cv::Mat mirrored(cv::Matx33d(-1, 0, 100, 0, 1, 0, 0, 0, 1));
    EXPECT_EQ(tarvix::projectedOutline(mirrored, {100, 50}), cv::Rect(100, 0, -100, 50));
    const cv::Mat quarterTurn(cv::Matx33d(0, -1, 50, 1, 0, 0, 0, 0, 1));
    // (0,0)->(50,0) (100,0)->(50,100) (100,50)->(0,100) (0,50)->(0,0)
    EXPECT_EQ(tarvix::projectedOutline(quarterTurn, {100, 50}), cv::Rect(0, 0, 50, 100));
    const cv::Mat tilted(cv::Matx33d(1, 0.5, 0, 0.5, 1, 0, 0, 0, 1));
    // The lowest x and y are corner 0's. All pairs hold the extremes here.
    EXPECT_EQ(tarvix::projectedOutline(tilted, {100, 50}), cv::Rect(0, 0, 125, 100));
}

TEST(ProjectedOutline, SaturatesAndTreatsNotANumberAsZero) {
    const double nan = std::nan("");
    const cv::Rect distant =
        tarvix::projectedOutline(cv::Mat(cv::Matx33d(1e30, 0, -1e30, 0, 1, 0, 0, 0, 1)), {10, 10});
    EXPECT_EQ(distant.x, INT_MIN);
    EXPECT_EQ(distant.width, INT_MAX);
    const cv::Rect none =
        tarvix::projectedOutline(cv::Mat(cv::Matx33d(nan, 0, 0, 0, nan, 0, 0, 0, nan)), {10, 10});
    EXPECT_EQ(none.area(), 0);
    const cv::Rect noColumns =
        tarvix::projectedOutline(cv::Mat(cv::Matx33d(nan, 0, 0, 0, 1, 2, 0, 0, 1)), {10, 10});
    EXPECT_EQ(noColumns, cv::Rect(0, 2, 0, 10));
    const cv::Rect noRows =
        tarvix::projectedOutline(cv::Mat(cv::Matx33d(1, 0, 2, 0, nan, 0, 0, 0, 1)), {10, 10});
    EXPECT_EQ(noRows, cv::Rect(2, 0, 10, 0));
}

TEST(CommonCanvas, HoldsTheReferenceAndEveryOutline) {
    const tarvix::Canvas alone = tarvix::commonCanvas({40, 30}, {});
    EXPECT_EQ(alone.left, 0);
    EXPECT_EQ(alone.top, 0);
    EXPECT_EQ(alone.size, cv::Size(40, 30));
    const tarvix::Canvas inside = tarvix::commonCanvas({40, 30}, {{5, 5, 10, 10}});
    EXPECT_EQ(inside.size, cv::Size(40, 30));
    const tarvix::Canvas all =
        tarvix::commonCanvas({40, 30}, {{-7, 3, 20, 50}, {10, -2, 60, 5}, {100, 0, -100, 9}});
    EXPECT_EQ(all.left, -7);
    EXPECT_EQ(all.top, -2);
    EXPECT_EQ(all.size, cv::Size(77, 55));
}

TEST(CommonCanvas, IsNothingByItself) {
    const tarvix::Canvas canvas;
    EXPECT_EQ(canvas.left, 0);
    EXPECT_EQ(canvas.top, 0);
    EXPECT_TRUE(canvas.size.empty());
    EXPECT_EQ(tarvix::SetMatch().matches, 0U);
}

TEST(DrawRegistered, MakesTheCanvasIfItIsAnother) {
    const cv::Mat image = test::noise(20, 30, CV_8UC3);
    const cv::Mat same = cv::Mat::eye(3, 3, CV_64F);
    for (const cv::Mat& given : {cv::Mat(), cv::Mat(50, 40, CV_8UC1), cv::Mat(5, 4, CV_8UC3)}) {
        cv::Mat canvas = given.clone();
        tarvix::drawRegistered(image, same, {0, 0, {40, 50}}, canvas);
        ASSERT_EQ(canvas.size(), cv::Size(40, 50));
        ASSERT_EQ(canvas.type(), CV_8UC3);
        EXPECT_THAT(canvas(cv::Rect({0, 0}, image.size())), IsIdenticalTo(image));
        EXPECT_EQ(cv::countNonZero(canvas.colRange(30, 40).clone().reshape(1)), 0);
    }
}

TEST(CommonCanvas, SaturatesAndIsThenTooLargeToAllocate) {
    const tarvix::Canvas huge = tarvix::commonCanvas(
        {40, 30}, {{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {INT_MAX, INT_MAX, INT_MAX, INT_MAX}});
    EXPECT_EQ(huge.left, INT_MIN);
    EXPECT_EQ(huge.size, cv::Size(INT_MAX, INT_MAX));
    EXPECT_THROW(cv::Mat(huge.size, CV_8UC3), cv::Exception);
}

} // namespace
