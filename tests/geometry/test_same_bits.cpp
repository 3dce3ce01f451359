// The search and the correction give the same bits on every system: 20,000 quadrilaterals in 40
// blocks, compared with digests that were made on Linux. Every fourth block is compared, and all of
// them if TARVIX_ALL_QUADRILATERALS is set, as the project's own check does.
//
// If TARVIX_DUMP names a file, a line for each quadrilateral goes there: the digests of its pose,
// of its corrected corners, of its homography, and of an image warped by it. Two systems' files can
// be compared line by line.
#include "geometry/converge_search.h"
#include "geometry/homography_warp.h"
#include "tests/geometry/quad_cases.h"
#include "tests/geometry/trig_inputs.h"

#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>

#include <array>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

using namespace tarvix;
using namespace tarvix::test;

constexpr int blocks = 40;
constexpr int blockSize = 500;

// A quarter each: facades, arbitrary quadrilaterals with unknown and known focal length, and all
// that could upset the search.
std::vector<QuadCase> cases() {
    std::vector<QuadCase> hostile = hostileCases(2025, blocks * blockSize / 4);
    std::mt19937_64 random(77); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    std::vector<QuadCase> all;
    for (const QuadCase& upsetting : hostile) {
        const double focal = all.size() % 8 == 0 ? 0.0 : uniform(random, 15.0, 60.0);
        all.push_back({"facade", randomFacade(random), focal});
        for (const double known : {0.0, uniform(random, 10.0, 70.0)}) {
            MarkedQuad any{{1600, 1200}, {}};
            for (cv::Point2d& p : any.corners) {
                p = {uniform(random, -160.0, 1760.0), uniform(random, -120.0, 1320.0)};
            }
            all.push_back({"arbitrary", any, known});
        }
        all.push_back(upsetting);
    }
    return all;
}

struct Bits {
    Digest pose;
    Digest corners;
};

Corners search(const QuadCase& c, Bits& bits) {
    const Pose pose = findPose(c.quad, c.focalMm);
    for (const double number : {pose.pitchDeg, pose.yawDeg, pose.rollDeg, pose.focalMm}) {
        bits.pose.add(number);
    }
    const Corners corrected = correctCorners(c.quad, pose, {});
    for (const cv::Point2d& p : corrected) {
        bits.corners.add(p.x);
        bits.corners.add(p.y);
    }
    return corrected;
}

// The homography from the marked corners, scaled down to a small image, and that image warped by
// it.
std::string imageBits(const QuadCase& c, const Corners& corrected) {
    const double scale = 200.0 / std::max(c.quad.image.width, c.quad.image.height);
    Corners from = c.quad.corners;
    Corners to = corrected;
    for (std::size_t i = 0; i < 4; ++i) {
        from[i] *= scale;
        to[i] *= scale;
    }
    Digest homographyBits;
    Digest imageDigest;
    try {
        const cv::Mat homography = cv::findHomography(std::vector(from.begin(), from.end()),
                                                      std::vector(to.begin(), to.end()), 0, 3.0,
                                                      cv::noArray(), 2000, 0.995);
        for (int i = 0; i < static_cast<int>(homography.total()); ++i) {
            homographyBits.add(homography.ptr<double>()[i]);
        }
        cv::Mat image(150, 200, CV_8UC3);
        for (int i = 0; i < 150 * 200 * 3; ++i) {
            image.data[i] = static_cast<unsigned char>(i * i / 7 + i % 251);
        }
        warpOnWhite(image, from, to);
        for (int i = 0; i < 150 * 200 * 3; i += 8) {
            std::uint64_t eight = 0;
            for (int k = 0; k < 8; ++k) {
                eight = eight << 8 | image.data[i + k];
            }
            imageDigest.add(eight);
        }
    } catch (const cv::Exception&) {
        imageDigest.add(std::uint64_t{1});
    }
    std::ostringstream text;
    text << std::hex << homographyBits.value() << ' ' << imageDigest.value();
    return text.str();
}

TEST(SameBits, OfPosesAndCorrectedCorners) {
    const char* dumpName = std::getenv("TARVIX_DUMP"); // NOLINT(concurrency-mt-unsafe)
    std::ofstream dump;
    if (dumpName != nullptr) {
        dump.open(dumpName);
    }
    std::ifstream table(TARVIX_SAME_BITS);
    ASSERT_TRUE(table) << TARVIX_SAME_BITS;
    const std::vector<QuadCase> all = cases();
    const bool every =
        std::getenv("TARVIX_ALL_QUADRILATERALS") != nullptr; // NOLINT(concurrency-mt-unsafe)
    std::size_t next = 0;
    int compared = 0;
    for (int block = 0; block < blocks; ++block) {
        std::string expected;
        std::getline(table, expected);
        if (!every && block % 4 != 0) {
            next += blockSize;
            continue;
        }
        ++compared;
        Bits bits;
        for (int i = 0; i < blockSize; ++i) {
            const QuadCase& c = all.at(next++);
            const Corners corrected = search(c, bits);
            if (dump.is_open()) {
                Bits own;
                search(c, own);
                dump << std::hex << own.pose.value() << ' ' << own.corners.value() << ' '
                     << imageBits(c, corrected) << ' ' << c.name << '\n';
            }
        }
        std::ostringstream found;
        found << std::hex << bits.pose.value() << ' ' << bits.corners.value();
        EXPECT_EQ(found.str(), expected) << "quadrilaterals " << block * blockSize << " on";
    }
    EXPECT_EQ(next, all.size());
    EXPECT_EQ(compared, every ? blocks : blocks / 4);
}

} // namespace
