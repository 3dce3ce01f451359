// Arithmetic on four numbers at once.
#pragma once

#include <algorithm>
#include <cmath>

namespace tarvix {

// Four numbers, one per corner or edge of a quadrilateral. The convergence search spends its time
// in these; they are written out because compilers do not unroll loops over four reliably.
struct Four {
    double v[4];

    friend Four operator+(const Four& a, const Four& b) {
        return {{a.v[0] + b.v[0], a.v[1] + b.v[1], a.v[2] + b.v[2], a.v[3] + b.v[3]}};
    }
    friend Four operator-(const Four& a, const Four& b) {
        return {{a.v[0] - b.v[0], a.v[1] - b.v[1], a.v[2] - b.v[2], a.v[3] - b.v[3]}};
    }
    friend Four operator*(const Four& a, const Four& b) {
        return {{a.v[0] * b.v[0], a.v[1] * b.v[1], a.v[2] * b.v[2], a.v[3] * b.v[3]}};
    }
    friend Four operator/(const Four& a, const Four& b) {
        return {{a.v[0] / b.v[0], a.v[1] / b.v[1], a.v[2] / b.v[2], a.v[3] / b.v[3]}};
    }
    friend Four operator+(double s, const Four& a) {
        return {{s + a.v[0], s + a.v[1], s + a.v[2], s + a.v[3]}};
    }
    friend Four operator-(const Four& a, double s) {
        return {{a.v[0] - s, a.v[1] - s, a.v[2] - s, a.v[3] - s}};
    }
    friend Four operator*(double s, const Four& a) {
        return {{s * a.v[0], s * a.v[1], s * a.v[2], s * a.v[3]}};
    }
};

inline Four abs4(const Four& a) {
    return {{std::abs(a.v[0]), std::abs(a.v[1]), std::abs(a.v[2]), std::abs(a.v[3])}};
}
inline Four sqrt4(const Four& a) {
    return {{std::sqrt(a.v[0]), std::sqrt(a.v[1]), std::sqrt(a.v[2]), std::sqrt(a.v[3])}};
}
inline Four max4(const Four& a, const Four& b) {
    return {{std::max(a.v[0], b.v[0]), std::max(a.v[1], b.v[1]), std::max(a.v[2], b.v[2]),
             std::max(a.v[3], b.v[3])}};
}
inline Four min4(const Four& a, const Four& b) {
    return {{std::min(a.v[0], b.v[0]), std::min(a.v[1], b.v[1]), std::min(a.v[2], b.v[2]),
             std::min(a.v[3], b.v[3])}};
}
inline double smallest(const Four& a) {
    return std::min(std::min(a.v[0], a.v[1]), std::min(a.v[2], a.v[3]));
}
// The value of the following corner or edge at each place.
inline Four next(const Four& a) {
    return {{a.v[1], a.v[2], a.v[3], a.v[0]}};
}

} // namespace tarvix
