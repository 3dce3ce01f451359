// tx_DetectorTest and tx_MatchTest, called as a host calls them, and the table of detectors.
#include <tarvix/tarvix.h>

#include "features/detectors.h"
#include "features/drawn_features.h"
#include "tests/support/export_test.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/observed_bitmaps.h"

#include <gmock/gmock.h>
#include <opencv2/imgproc.hpp>

#include <climits>

namespace {

using test::Dib;
using test::IsIdenticalTo;
using testing::IsEmpty;

using DetectorTest = test::ExportTest;
using MatchTest = test::ExportTest;

cv::Mat coloured(const cv::Mat& image) {
    cv::Mat colour = image;
    if (image.channels() == 1) {
        cv::cvtColor(image, colour, cv::COLOR_GRAY2BGR);
    }
    return colour;
}

// Where two images of one size differ.
cv::Mat changed(const cv::Mat& a, const cv::Mat& b) {
    cv::Mat difference;
    cv::absdiff(a, b, difference);
    cv::Mat mask = difference.reshape(1, static_cast<int>(difference.total()));
    cv::reduce(mask, mask, 1, cv::REDUCE_MAX);
    return mask.reshape(1, a.rows) > 0;
}

cv::Mat sample(bool grey) {
    cv::Mat shrunk;
    cv::resize(test::photo("box_in_scene.png", grey), shrunk, {}, 0.6, 0.6, cv::INTER_AREA);
    return shrunk;
}

// ---- the table

TEST(Detectors, EverySettingIsAsListed) {
    const auto orb = tarvix::createDetector(1).dynamicCast<cv::ORB>();
    ASSERT_NE(orb, nullptr);
    EXPECT_EQ(orb->getMaxFeatures(), 500);
    EXPECT_EQ(static_cast<float>(orb->getScaleFactor()), 1.2F);
    EXPECT_EQ(orb->getNLevels(), 8);
    EXPECT_EQ(orb->getEdgeThreshold(), 31);
    EXPECT_EQ(orb->getFirstLevel(), 0);
    EXPECT_EQ(orb->getWTA_K(), 2);
    EXPECT_EQ(orb->getScoreType(), cv::ORB::HARRIS_SCORE);
    EXPECT_EQ(orb->getPatchSize(), 31);
    EXPECT_EQ(orb->getFastThreshold(), 20);

    const auto mser = tarvix::createDetector(0).dynamicCast<cv::MSER>();
    ASSERT_NE(mser, nullptr);
    EXPECT_EQ(mser->getDelta(), 5);
    EXPECT_EQ(mser->getMinArea(), 60);
    EXPECT_EQ(mser->getMaxArea(), 14400);

    const auto brisk = tarvix::createDetector(2).dynamicCast<cv::BRISK>();
    ASSERT_NE(brisk, nullptr);
    EXPECT_EQ(brisk->getThreshold(), 30);
    EXPECT_EQ(brisk->getOctaves(), 3);

    const auto kaze = tarvix::createDetector(3).dynamicCast<cv::KAZE>();
    ASSERT_NE(kaze, nullptr);
    EXPECT_FALSE(kaze->getExtended());
    EXPECT_FALSE(kaze->getUpright());
    EXPECT_EQ(static_cast<float>(kaze->getThreshold()), 0.001F);
    EXPECT_EQ(kaze->getNOctaves(), 4);
    EXPECT_EQ(kaze->getNOctaveLayers(), 4);
    EXPECT_EQ(kaze->getDiffusivity(), 1);

    const auto akaze = tarvix::createDetector(4).dynamicCast<cv::AKAZE>();
    ASSERT_NE(akaze, nullptr);
    EXPECT_EQ(akaze->getDescriptorType(), 5);
    EXPECT_EQ(akaze->getDescriptorSize(), 0);
    EXPECT_EQ(akaze->getDescriptorChannels(), 3);
    EXPECT_EQ(static_cast<float>(akaze->getThreshold()), 0.001F);
    EXPECT_EQ(akaze->getNOctaves(), 4);
    EXPECT_EQ(akaze->getNOctaveLayers(), 4);
    EXPECT_EQ(akaze->getDiffusivity(), 1);

    EXPECT_NE(tarvix::createExtractor(0).dynamicCast<cv::ORB>(), nullptr);
    EXPECT_NE(tarvix::createExtractor(1).dynamicCast<cv::BRISK>(), nullptr);
    for (const int unknown : {-1, 5, INT_MIN, INT_MAX}) {
        EXPECT_EQ(tarvix::createDetector(unknown), nullptr);
    }
    for (const int unknown : {-1, 2, 4}) {
        EXPECT_EQ(tarvix::createExtractor(unknown), nullptr);
    }
}

// ---- tx_DetectorTest

TEST_F(DetectorTest, EveryDetectorDrawsItsKeypointsForBothDepths) {
    for (const bool grey : {false, true}) {
        const cv::Mat image = sample(grey);
        const Dib source = test::dibOf(image);
        for (int detector = 0; detector <= 4; ++detector) {
            SCOPED_TRACE(detector);
            const Dib result(tx_DetectorTest(*source, detector));
            ASSERT_NE(result, nullptr);
            EXPECT_EQ(result->m_bmi.bmiHeader.biBitCount, 24);
            const cv::Mat drawn = test::matOf(*result);
            ASSERT_EQ(drawn.size(), image.size());
            std::vector<cv::KeyPoint> keypoints;
            tarvix::createDetector(detector)->detect(image, keypoints);
            ASSERT_GT(keypoints.size(), 5U);
            // Something is drawn at every keypoint, and nothing far from all of them.
            cv::Mat allowed(image.size(), CV_8UC1, cv::Scalar(0));
            const cv::Mat mask = changed(drawn, coloured(image));
            int touched = 0;
            for (const cv::KeyPoint& k : keypoints) {
                cv::circle(allowed, k.pt, 6, cv::Scalar(255), cv::FILLED);
                const cv::Rect around(cv::Point(k.pt) - cv::Point(5, 5), cv::Size(11, 11));
                touched += cv::countNonZero(mask(around & cv::Rect({0, 0}, mask.size()))) > 0;
            }
            EXPECT_GE(touched, static_cast<int>(keypoints.size()) * 99 / 100);
            EXPECT_EQ(cv::countNonZero(mask & ~allowed), 0);
            EXPECT_THAT(*source, IsIdenticalTo(image)) << "the input was changed";
        }
    }
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(DetectorTest, UnknownSelectorGivesNullSilently) {
    const Dib source = test::dibOf(sample(false));
    CDib never;
    for (const int detector : {5, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(tx_DetectorTest(*source, detector), nullptr);
        EXPECT_EQ(tx_DetectorTest(never, detector), nullptr);
    }
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(DetectorTest, AFlatImageIsReturnedUnchanged) {
    const cv::Mat flat(90, 120, CV_8UC3, cv::Scalar(40, 90, 200));
    for (int detector = 0; detector <= 4; ++detector) {
        const Dib result(tx_DetectorTest(*test::dibOf(flat), detector));
        ASSERT_NE(result, nullptr) << detector;
        EXPECT_THAT(*result, IsIdenticalTo(flat)) << detector;
    }
    const Dib grey(tx_DetectorTest(*test::makeDib(120, 90, 8, 77), 1));
    ASSERT_NE(grey, nullptr);
    EXPECT_THAT(*grey, IsIdenticalTo(cv::Mat(90, 120, CV_8UC3, cv::Scalar::all(77))));
}

TEST_F(DetectorTest, CallingTwiceDrawsAtTheSamePlaces) {
    const cv::Mat image = sample(false);
    const Dib source = test::dibOf(image);
    for (const int detector : {1, 2, 4}) {
        const Dib first(tx_DetectorTest(*source, detector));
        const Dib second(tx_DetectorTest(*source, detector));
        // The colours are random: a circle may have nearly the colour underneath by chance.
        const cv::Mat a = changed(test::matOf(*first), image);
        const cv::Mat b = changed(test::matOf(*second), image);
        EXPECT_LT(cv::countNonZero(a != b), cv::countNonZero(a) / 20);
    }
}

TEST_F(DetectorTest, OtherDepthsEndInOpenCvsMessage) {
    CDib never;
    std::size_t messages = 0;
    for (int detector = 0; detector <= 4; ++detector) {
        EXPECT_EQ(tx_DetectorTest(never, detector), nullptr);
        EXPECT_EQ(tx_DetectorTest(*test::makeDib(64, 64, 32), detector), nullptr);
        messages += 2;
        EXPECT_EQ(host.messages.size(), messages) << detector;
    }
    EXPECT_EQ(host.messages[0].type, 0U);
    EXPECT_EQ(host.messages[0].helpId, 0U);
}

TEST_F(DetectorTest, RefusedCreateGivesNullSilently) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const Dib source = test::dibOf(sample(false));
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_DetectorTest(*source, 1), nullptr);
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(DetectorTest, TinyAndExtremeImagesGiveAResultOrAMessage) {
    for (const cv::Size& size : {cv::Size(1, 1), cv::Size(2, 2), cv::Size(5, 3), cv::Size(9, 9),
                                 cv::Size(1, 40), cv::Size(20000, 10)}) {
        for (int detector = 0; detector <= 4; ++detector) {
            host.messages.clear();
            const Dib source = test::dibOf(test::noise(size.height, size.width, CV_8UC3));
            const Dib result(tx_DetectorTest(*source, detector));
            EXPECT_EQ(result == nullptr, host.messages.size() == 1U) << size << detector;
            if (result != nullptr) {
                EXPECT_EQ(test::matOf(*result).size(), size);
            }
        }
    }
}

// ---- tx_MatchTest

TEST_F(MatchTest, EveryPairingIsDrawnSideBySide) {
    const cv::Mat left = test::photo("box.png");
    const cv::Mat right = sample(false);
    const cv::Size both(left.cols + right.cols, std::max(left.rows, right.rows));
    for (int detector = 0; detector <= 4; ++detector) {
        for (int descriptor = 0; descriptor <= 1; ++descriptor) {
            SCOPED_TRACE(testing::Message() << detector << ", " << descriptor);
            const Dib result(
                tx_MatchTest(*test::dibOf(left), *test::dibOf(right), detector, descriptor));
            EXPECT_THAT(host.messages, IsEmpty());
            ASSERT_NE(result, nullptr);
            EXPECT_EQ(result->m_bmi.bmiHeader.biBitCount, 24);
            EXPECT_EQ(test::matOf(*result).size(), both);
        }
    }
}

TEST_F(MatchTest, MserWithBriskIsAccepted) {
    const Dib result(
        tx_MatchTest(*test::dibOf(test::photo("box.png")), *test::dibOf(sample(false)), 0, 1));
    EXPECT_NE(result, nullptr);
    EXPECT_THAT(host.messages, IsEmpty());
}

// On purpose: Euclidean distance over binary descriptors, and every match is kept.
TEST_F(MatchTest, EuclideanNormOnBinaryDescriptorsAndNoFilter) {
    const cv::Mat left = test::photo("box.png");
    const cv::Mat right = test::photo("box_in_scene.png");
    const auto orb = tarvix::createOrb();
    std::vector<cv::KeyPoint> a, b;
    cv::Mat da, db;
    orb->detect(left, a);
    orb->compute(left, a, da);
    orb->detect(right, b);
    orb->compute(right, b, db);
    std::vector<cv::DMatch> euclidean, hamming;
    cv::BFMatcher(cv::NORM_L2).match(da, db, euclidean);
    cv::BFMatcher(cv::NORM_HAMMING).match(da, db, hamming);
    ASSERT_EQ(euclidean.size(), a.size());
    std::size_t different = 0;
    for (std::size_t i = 0; i < euclidean.size(); ++i) {
        different += euclidean[i].trainIdx != hamming[i].trainIdx ? 1 : 0;
    }
    ASSERT_GT(different, 0U) << "the norms cannot be told apart on these images";

    // The same random colours make the images comparable byte by byte.
    const auto drawn = [&](const std::vector<cv::DMatch>& matches) {
        cv::Mat image;
        cv::theRNG().state = 99;
        cv::drawMatches(left, a, right, b, matches, image, cv::Scalar::all(-1), cv::Scalar::all(-1),
                        {}, cv::DrawMatchesFlags::DEFAULT);
        return image;
    };
    cv::theRNG().state = 99;
    const Dib result(tx_MatchTest(*test::dibOf(left), *test::dibOf(right), 1, 0));
    ASSERT_NE(result, nullptr);
    EXPECT_THAT(*result, IsIdenticalTo(drawn(euclidean)));
    EXPECT_THAT(*result, testing::Not(IsIdenticalTo(drawn(hamming))));
}

TEST_F(MatchTest, GreyPairGivesTwentyFourBitsSideBySide) {
    const cv::Mat left = test::photo("box.png", true);
    const cv::Mat right = sample(true);
    const Dib result(tx_MatchTest(*test::dibOf(left), *test::dibOf(right), 1, 1));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->m_bmi.bmiHeader.biBitCount, 24);
    EXPECT_EQ(test::matOf(*result).size(),
              cv::Size(left.cols + right.cols, std::max(left.rows, right.rows)));
}

TEST_F(MatchTest, IdenticalImagesAreJoinedLevelByLevel) {
    const cv::Mat image = test::photo("box.png");
    const Dib result(tx_MatchTest(*test::dibOf(image), *test::dibOf(image), 1, 0));
    ASSERT_NE(result, nullptr);
    // Every keypoint matches itself: the lines run level from one image to the other, so they
    // touch the middle column only in the rows of keypoints.
    const auto orb = tarvix::createOrb();
    std::vector<cv::KeyPoint> keypoints;
    cv::Mat descriptors;
    orb->detect(image, keypoints);
    orb->compute(image, keypoints, descriptors);
    std::vector<cv::DMatch> matches;
    cv::BFMatcher(cv::NORM_L2).match(descriptors, descriptors, matches);
    ASSERT_EQ(matches.size(), keypoints.size());
    cv::Mat rows(image.rows, 1, CV_8UC1, cv::Scalar(0));
    for (const cv::DMatch& m : matches) {
        EXPECT_EQ(m.distance, 0);
        for (int d = -2; d <= 2; ++d) {
            const int y = cvRound(keypoints[static_cast<std::size_t>(m.queryIdx)].pt.y) + d;
            rows.at<unsigned char>(std::clamp(y, 0, rows.rows - 1), 0) = 255;
        }
    }
    const cv::Mat drawn = test::matOf(*result);
    const cv::Mat middle = changed(drawn.col(image.cols).clone(), image.col(0).clone());
    EXPECT_GT(cv::countNonZero(middle), 20);
    EXPECT_EQ(cv::countNonZero(middle & ~rows), 0);
}

TEST(DrawnMatches, OfNothingAreNone) {
    const cv::Mat image = test::scene(80, 90, 1);
    for (const tarvix::DrawnMatches& drawn :
         {tarvix::drawMatched({}, image, 1, 1), tarvix::drawMatched(image, {}, 1, 1),
          tarvix::drawMatched(image, image, 5, 1), tarvix::drawMatched(image, image, 1, 2)}) {
        EXPECT_TRUE(drawn.image.empty());
        EXPECT_EQ(drawn.count, 0U);
        EXPECT_EQ(drawn.queryKeypoints, 0U);
        EXPECT_EQ(drawn.trainKeypoints, 0U);
    }
    EXPECT_EQ(tarvix::DrawnKeypoints().count, 0U);
}

TEST_F(MatchTest, UnknownSelectorsGiveNullSilently) {
    const Dib source = test::dibOf(test::photo("box.png"));
    for (const int detector : {-1, 5, INT_MAX}) {
        EXPECT_EQ(tx_MatchTest(*source, *source, detector, 0), nullptr);
    }
    for (const int descriptor : {2, -1, INT_MIN}) {
        EXPECT_EQ(tx_MatchTest(*source, *source, 1, descriptor), nullptr);
    }
    EXPECT_THAT(host.messages, IsEmpty());
}

// On purpose: the descriptor's selector is checked after the detection, so what the detector
// refuses is reported first. The detector's own selector is checked before it.
TEST_F(MatchTest, TheDescriptorSelectorIsCheckedAfterTheDetection) {
    const Dib tiny = test::makeDib(2, 2, 24);
    EXPECT_EQ(tx_MatchTest(*tiny, *tiny, 0, 2), nullptr);
    EXPECT_EQ(host.messages.size(), 1U);
    EXPECT_EQ(tx_MatchTest(*tiny, *tiny, 9, 2), nullptr);
    EXPECT_EQ(host.messages.size(), 1U);
}

TEST_F(MatchTest, OtherDepthsGiveNullSilentlyOnEitherSide) {
    const Dib good = test::dibOf(test::photo("box.png"));
    CDib never;
    EXPECT_EQ(tx_MatchTest(never, *good, 1, 0), nullptr);
    EXPECT_EQ(tx_MatchTest(*good, never, 1, 0), nullptr);
    for (const int bits : {1, 4, 16, 32}) {
        const Dib other = test::makeDib(64, 64, bits);
        EXPECT_EQ(tx_MatchTest(*other, *good, 1, 0), nullptr);
        EXPECT_EQ(tx_MatchTest(*good, *other, 1, 0), nullptr);
        EXPECT_EQ(tx_MatchTest(*other, *good, 99, 99), nullptr);
    }
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(MatchTest, NoKeypointsOnEitherSideGiveAnImageOrAMessage) {
    const cv::Mat good = test::photo("box.png");
    const cv::Mat flat(good.size(), CV_8UC3, cv::Scalar::all(128));
    for (int detector = 0; detector <= 4; ++detector) {
        for (int descriptor = 0; descriptor <= 1; ++descriptor) {
            for (const auto& [left, right] :
                 {std::pair(good, flat), std::pair(flat, good), std::pair(flat, flat)}) {
                host.messages.clear();
                const Dib result(
                    tx_MatchTest(*test::dibOf(left), *test::dibOf(right), detector, descriptor));
                EXPECT_EQ(result == nullptr, host.messages.size() == 1U)
                    << detector << ", " << descriptor;
            }
        }
    }
}

TEST_F(MatchTest, RefusedCreateGivesNullSilently) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const Dib source = test::dibOf(test::photo("box.png"));
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_MatchTest(*source, *source, 1, 0), nullptr);
    test::failBitmapConstruction(1);
    EXPECT_EQ(tx_MatchTest(*source, *source, 1, 0), nullptr);
    EXPECT_THAT(host.messages, IsEmpty());
}

} // namespace
