// Numbers of about 106 bits, each the sum of two doubles.
//
// Only the five operations that the standard of floating-point arithmetic rounds are used, so the
// results are the same bits on every system. This needs arithmetic in double precision without
// contraction, which the build sets. The algorithms are Dekker's and Knuth's. Operands are assumed
// to be far from overflow and underflow.
#pragma once

#include <cmath>

namespace tarvix {

// high + low, where low is at most half a unit in the last place of high.
struct DoubleDouble {
    double high = 0.0;
    double low = 0.0;
};

// a + b exactly, for |a| >= |b| or a == 0.
inline DoubleDouble orderedSum(double a, double b) {
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

// a + b exactly.
inline DoubleDouble exactSum(double a, double b) {
    const double sum = a + b;
    const double rest = sum - a;
    return {sum, (a - (sum - rest)) + (b - rest)};
}

// a * b exactly.
inline DoubleDouble exactProduct(double a, double b) {
    constexpr double splitter = 134217729.0; // 2^27 + 1
    const double scaledA = splitter * a;
    const double scaledB = splitter * b;
    const double upperA = scaledA - (scaledA - a);
    const double upperB = scaledB - (scaledB - b);
    const double lowerA = a - upperA;
    const double lowerB = b - upperB;
    const double product = a * b;
    return {product,
            lowerA * lowerB - (((product - upperA * upperB) - lowerA * upperB) - upperA * lowerB)};
}

// The relative error of a sum is below 2^-103 of the larger operand, that of a product below 2^-102
// of the result, that of a quotient and of a root below 2^-100.

inline DoubleDouble operator-(const DoubleDouble& a) {
    return {-a.high, -a.low};
}

inline DoubleDouble operator+(const DoubleDouble& a, const DoubleDouble& b) {
    const DoubleDouble high = exactSum(a.high, b.high);
    const DoubleDouble low = exactSum(a.low, b.low);
    const DoubleDouble sum = orderedSum(high.high, high.low + low.high);
    return orderedSum(sum.high, sum.low + low.low);
}

inline DoubleDouble operator-(const DoubleDouble& a, const DoubleDouble& b) {
    return a + -b;
}

inline DoubleDouble operator*(const DoubleDouble& a, const DoubleDouble& b) {
    const DoubleDouble product = exactProduct(a.high, b.high);
    return orderedSum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

// a / b for whole numbers.
inline DoubleDouble ratio(double a, double b) {
    const double quotient = a / b;
    const DoubleDouble product = exactProduct(quotient, b);
    return {quotient, ((a - product.high) - product.low) / b};
}

// 0 for 0.
inline DoubleDouble squareRoot(const DoubleDouble& a) {
    if (a.high <= 0.0) {
        return {};
    }
    const double root = std::sqrt(a.high);
    const DoubleDouble square = exactProduct(root, root);
    return orderedSum(root, ((a.high - square.high) - square.low + a.low) / (2.0 * root));
}

} // namespace tarvix
