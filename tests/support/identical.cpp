#include "tests/support/identical.h"

#include "tests/support/images.h"

#include <opencv2/core.hpp>
#include <opencv2/core/check.hpp>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

namespace test {

namespace {

// What one element has at one channel.
template <class T>
T valueAt(const unsigned char* element, int channel) {
    T value{};
    std::memcpy(&value, element + static_cast<std::size_t>(channel) * sizeof value, sizeof value);
    return value;
}

template <class T>
void printValues(std::ostream& out, const unsigned char* element, int channels) {
    const auto precision = out.precision(std::numeric_limits<T>::max_digits10);
    out << (channels == 1 ? "" : "[");
    for (int c = 0; c < channels; ++c) {
        out << (c == 0 ? "" : ", ") << +valueAt<T>(element, c);
    }
    out << (channels == 1 ? "" : "]");
    out.precision(precision);
}

void printElement(std::ostream& out, const unsigned char* element, int type) {
    const int channels = CV_MAT_CN(type);
    switch (CV_MAT_DEPTH(type)) {
    case CV_8U:
        return printValues<std::uint8_t>(out, element, channels);
    case CV_8S:
        return printValues<std::int8_t>(out, element, channels);
    case CV_16S:
        return printValues<std::int16_t>(out, element, channels);
    case CV_32S:
        return printValues<std::int32_t>(out, element, channels);
    case CV_32F:
        return printValues<float>(out, element, channels);
    case CV_64F:
        return printValues<double>(out, element, channels);
    default: // CV_16U; a half-precision number shows its bits
        return printValues<std::uint16_t>(out, element, channels);
    }
}

// How many steps from one number to the next are between two; -0.0 and 0.0 are one apart. No value
// if either is not a number.
template <class T, class Bits>
std::optional<std::uint64_t> unitsApart(T a, T b) {
    if (std::isnan(a) || std::isnan(b)) {
        return std::nullopt;
    }
    constexpr Bits top = Bits{1} << (8 * sizeof(Bits) - 1);
    const auto rank = [](T value) { // rises with the value
        const auto bits = std::bit_cast<Bits>(value);
        return (bits & top) != 0 ? static_cast<Bits>(~bits) : static_cast<Bits>(bits | top);
    };
    return std::max(rank(a), rank(b)) - std::min(rank(a), rank(b));
}

// The largest distance of two elements' channels; no value for whole numbers and for what is not a
// number.
std::optional<std::uint64_t> unitsApart(const unsigned char* a, const unsigned char* b, int type) {
    std::optional<std::uint64_t> most;
    for (int c = 0; c < CV_MAT_CN(type); ++c) {
        std::optional<std::uint64_t> units;
        if (CV_MAT_DEPTH(type) == CV_32F) {
            units = unitsApart<float, std::uint32_t>(valueAt<float>(a, c), valueAt<float>(b, c));
        } else if (CV_MAT_DEPTH(type) == CV_64F) {
            units = unitsApart<double, std::uint64_t>(valueAt<double>(a, c), valueAt<double>(b, c));
        }
        most = std::max(most, units); // no value is less than any
    }
    return most;
}

struct Differences {
    std::size_t count = 0;
    cv::Point first;                         // element that differs, row by row
    std::optional<std::uint64_t> mostUnits;  // apart
    std::optional<std::uint64_t> firstUnits; // the first one's
};

// Of two matrices of one size and type.
Differences compare(const cv::Mat& actual, const cv::Mat& expected) {
    Differences found;
    const std::size_t bytes = actual.elemSize();
    for (int y = 0; y < actual.rows; ++y) {
        if (std::memcmp(actual.ptr(y), expected.ptr(y),
                        bytes * static_cast<std::size_t>(actual.cols)) == 0) {
            continue;
        }
        for (int x = 0; x < actual.cols; ++x) {
            const unsigned char* const a = actual.ptr(y, x);
            const unsigned char* const b = expected.ptr(y, x);
            if (std::memcmp(a, b, bytes) == 0) {
                continue;
            }
            const std::optional<std::uint64_t> units = unitsApart(a, b, actual.type());
            if (found.count++ == 0) {
                found.first = {x, y};
                found.firstUnits = units;
            }
            found.mostUnits = std::max(found.mostUnits, units);
        }
    }
    return found;
}

std::string inUnits(std::uint64_t units) {
    return std::to_string(units) +
           (units == 1 ? " unit in the last place" : " units in the last place");
}

} // namespace

bool IdentityMatcher::MatchAndExplain(const cv::Mat& actual, std::ostream* explanation) const {
    if (actual.size() != m_expected.size() || actual.type() != m_expected.type()) {
        if (explanation != nullptr) {
            *explanation << "which has another "
                         << (actual.size() != m_expected.size() ? "size" : "type");
        }
        return false;
    }
    const Differences found = compare(actual, m_expected);
    if (found.count != 0 && explanation != nullptr) {
        const auto& [x, y] = found.first;
        *explanation << "which differs in " << found.count << " of " << actual.total()
                     << " elements, first at row " << y << ", column " << x << ": ";
        printElement(*explanation, actual.ptr(y, x), actual.type());
        *explanation << " instead of ";
        printElement(*explanation, m_expected.ptr(y, x), actual.type());
        if (found.firstUnits) {
            *explanation << ", " << inUnits(*found.firstUnits) << " apart";
        }
        if (found.mostUnits != found.firstUnits) {
            *explanation << ", at most " << inUnits(*found.mostUnits) << " apart elsewhere";
        }
    }
    return found.count == 0;
}

bool IdentityMatcher::MatchAndExplain(const CDib& actual, std::ostream* explanation) const {
    return MatchAndExplain(matOf(actual), explanation);
}

void IdentityMatcher::DescribeTo(std::ostream* out) const {
    *out << "is identical to ";
    PrintTo(m_expected, out);
}

void IdentityMatcher::DescribeNegationTo(std::ostream* out) const {
    *out << "differs from ";
    PrintTo(m_expected, out);
}

IdentityMatcher IsIdenticalTo(const cv::Mat& expected) {
    return IdentityMatcher(expected);
}

IdentityMatcher IsIdenticalTo(const CDib& expected) {
    return IdentityMatcher(matOf(expected));
}

} // namespace test

void cv::PrintTo(const Mat& m, std::ostream* out) {
    *out << m.rows << (m.rows == 1 ? " row, " : " rows, ") << m.cols
         << (m.cols == 1 ? " column" : " columns") << " of " << typeToString(m.type());
}

void PrintTo(const CDib& dib, std::ostream* out) {
    const BITMAPINFOHEADER& header = dib.m_bmi.bmiHeader;
    *out << "a bitmap of " << header.biWidth << " x " << header.biHeight << " pixels, "
         << header.biBitCount << " bits each";
}
