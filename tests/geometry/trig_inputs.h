// Angles and cosines to test the rounded functions with, the same on every system: each
// is drawn in a statement of its own, because compilers differ in the order of a call's arguments.
#pragma once

#include "geometry/vect.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace tarvix::test {

// FNV-1a over the bits of numbers; all that are not numbers count alike.
class Digest {
public:
    void add(double value) {
        const std::uint64_t bits =
            std::isnan(value) ? 0x7ff8000000000000U : std::bit_cast<std::uint64_t>(value);
        add(bits);
    }
    void add(std::uint64_t bits) {
        for (int shift = 0; shift < 64; shift += 8) {
            m_hash = (m_hash ^ (bits >> shift & 0xff)) * 0x100000001b3U;
        }
    }
    std::uint64_t value() const { return m_hash; }

private:
    std::uint64_t m_hash = 0xcbf29ce484222325U;
};

// The distribution of the standard library differs between systems.
inline double uniform(std::mt19937_64& random, double from, double to) {
    return from + static_cast<double>(random() >> 11) * 0x1.0p-53 * (to - from);
}

// In radians: the range of the search and far beyond, close to whole quarter turns, and tiny.
inline std::vector<double> someAngles(std::uint64_t seed, int count) {
    std::mt19937_64 random(seed);
    std::vector<double> angles;
    while (static_cast<int>(angles.size()) < count) {
        angles.push_back(uniform(random, -1.25, 1.25));
        angles.push_back(uniform(random, -10.0, 10.0));
        angles.push_back(uniform(random, -1e6, 1e6));
        angles.push_back(std::floor(uniform(random, -600000.0, 600000.0)) * (pi / 2.0));
        const int power = -static_cast<int>(random() % 1070);
        angles.push_back(std::ldexp(uniform(random, -1.0, 1.0), power));
    }
    return angles;
}

// In [-1, 1]: everywhere, and close to its ends and to 0.
inline std::vector<double> someCosines(std::uint64_t seed, int count) {
    std::mt19937_64 random(seed);
    std::vector<double> cosines;
    while (static_cast<int>(cosines.size()) < count) {
        cosines.push_back(uniform(random, -1.0, 1.0));
        cosines.push_back(uniform(random, -0.2, 0.2));
        const double sign = random() % 2 == 0 ? 1.0 : -1.0;
        const int power = -static_cast<int>(random() % 53);
        cosines.push_back(sign * (1.0 - std::ldexp(uniform(random, 0.0, 1.0), power)));
        const int lowPower = -static_cast<int>(random() % 1070);
        cosines.push_back(sign * std::ldexp(uniform(random, 0.0, 1.0), lowPower));
    }
    return cosines;
}

} // namespace tarvix::test
