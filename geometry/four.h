// Arithmetic on two and on four numbers at once. The convergence search spends its time in these.
//
// GCC and clang compile vector types to instructions that work on two numbers, whatever the
// processor; other compilers get the same operations written out. Each operation is rounded as for
// single numbers, so the results are the same bits.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tarvix {

// Two numbers, written out.
struct PlainTwo {
    double first, second;

    double operator[](std::size_t i) const { return i == 0 ? first : second; }

    friend PlainTwo operator+(const PlainTwo& a, const PlainTwo& b) {
        return {a.first + b.first, a.second + b.second};
    }
    friend PlainTwo operator-(const PlainTwo& a, const PlainTwo& b) {
        return {a.first - b.first, a.second - b.second};
    }
    friend PlainTwo operator*(const PlainTwo& a, const PlainTwo& b) {
        return {a.first * b.first, a.second * b.second};
    }
    friend PlainTwo operator/(const PlainTwo& a, const PlainTwo& b) {
        return {a.first / b.first, a.second / b.second};
    }
    friend PlainTwo operator*(double s, const PlainTwo& a) { return {s * a.first, s * a.second}; }
};

inline PlainTwo abs2(const PlainTwo& a) {
    return {std::abs(a.first), std::abs(a.second)};
}
inline PlainTwo min2(const PlainTwo& a, const PlainTwo& b) {
    return {std::min(a.first, b.first), std::min(a.second, b.second)};
}
inline PlainTwo max2(const PlainTwo& a, const PlainTwo& b) {
    return {std::max(a.first, b.first), std::max(a.second, b.second)};
}

#if defined(__GNUC__)

// Two numbers as a vector type, with the operators of the compiler.
using Two = double __attribute__((vector_size(16)));

inline Two abs2(Two a) {
    using Bits = long long __attribute__((vector_size(16)));
    constexpr long long allButSign = 0x7fffffffffffffff;
    return reinterpret_cast<Two>(reinterpret_cast<Bits>(a) & Bits{allButSign, allButSign});
}
inline Two min2(Two a, Two b) {
    return b < a ? b : a; // as std::min, also for what is not a number
}
inline Two max2(Two a, Two b) {
    return a < b ? b : a;
}

#else

using Two = PlainTwo;

#endif

inline Two both(double value) {
    return Two{value, value};
}

// Four numbers, one per corner or edge of a quadrilateral.
struct Four {
    Two low, high;

    double operator[](std::size_t i) const { // not low[i]: no index reads beyond two numbers
        const double all[] = {low[0], low[1], high[0], high[1]};
        return all[i];
    }

    friend Four operator+(const Four& a, const Four& b) { return {a.low + b.low, a.high + b.high}; }
    friend Four operator-(const Four& a, const Four& b) { return {a.low - b.low, a.high - b.high}; }
    friend Four operator*(const Four& a, const Four& b) { return {a.low * b.low, a.high * b.high}; }
    friend Four operator/(const Four& a, const Four& b) { return {a.low / b.low, a.high / b.high}; }
    friend Four operator+(double s, const Four& a) { return {both(s) + a.low, both(s) + a.high}; }
    friend Four operator-(const Four& a, double s) { return {a.low - both(s), a.high - both(s)}; }
    friend Four operator*(double s, const Four& a) { return {both(s) * a.low, both(s) * a.high}; }
};

inline Four four(double a, double b, double c, double d) {
    return {Two{a, b}, Two{c, d}};
}
inline Four abs4(const Four& a) {
    return {abs2(a.low), abs2(a.high)};
}
inline Four sqrt4(const Four& a) {
    return four(std::sqrt(a[0]), std::sqrt(a[1]), std::sqrt(a[2]), std::sqrt(a[3]));
}
inline Four min4(const Four& a, const Four& b) {
    return {min2(a.low, b.low), min2(a.high, b.high)};
}
inline Four max4(const Four& a, const Four& b) {
    return {max2(a.low, b.low), max2(a.high, b.high)};
}
inline double smallest(const Four& a) {
    const Two least = min2(a.low, a.high);
    return std::min(least[0], least[1]);
}
// The value of the following corner or edge at each place.
inline Four next(const Four& a) {
    return {Two{a.low[1], a.high[0]}, Two{a.high[1], a.low[0]}};
}

} // namespace tarvix
