// Corner arrays with any doubles.
#include "geometry/converge_search.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/geometry/literal_scan.h"

#include <bit>
#include <stdexcept>

namespace {

const std::vector<std::string> exports = test::exportsThatTake(test::takesCorners);

bool sameBits(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// Compares the search with the plain scan that defines it, for a known focal length. The scan of an
// unknown one takes too long.
void compareSearch(const test::Arguments& a) {
    tarvix::MarkedQuad quad;
    quad.image = {40, 30};
    for (std::size_t i = 0; i < 4; ++i) {
        quad.corners[i] = {a.from[2 * i], a.from[2 * i + 1]};
    }
    const double focal = a.reals[0] == 0.0 ? 35.0 : a.reals[0];
    const tarvix::Pose found = tarvix::findPose(quad, focal);
    const tarvix::Pose scanned = tarvix::test::literalScan(quad, focal);
    if (!sameBits(found.pitchDeg, scanned.pitchDeg) || !sameBits(found.yawDeg, scanned.yawDeg) ||
        !sameBits(found.rollDeg, scanned.rollDeg) || !sameBits(found.focalMm, scanned.focalMm)) {
        throw std::logic_error("the search differs from the scan");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Bytes in(data, size);
    const unsigned choice = in.byte();
    const int bitCount = choice % 2 == 0 ? 24 : 8;
    test::Arguments a;
    a.image = fuzz::smallBitmap(40, 30, bitCount, "\x10\x90\xF0\x30\x77");
    a.second = fuzz::smallBitmap(23, 31, 24, "");
    for (double& number : a.from) {
        number = in.take<double>();
    }
    for (double& number : a.to) {
        number = in.take<double>();
    }
    for (double& number : a.reals) {
        number = in.take<double>();
    }
    for (int& number : a.ints) {
        number = in.take<int>();
    }
    const unsigned selected = choice / 2 % 16;
    if (selected == 15) {
        compareSearch(a);
    } else {
        fuzz::call(exports[selected % exports.size()].c_str(), a);
    }
    return 0;
}
