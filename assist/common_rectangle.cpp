#include "common_rectangle.h"

#include <opencv2/core.hpp>

#include <cstdint>
#include <vector>

namespace tarvix {

namespace {

// A column from which on all columns so far have at least this height.
struct Step {
    int x = 0;
    int height = 0;
};

bool isBetter(const cv::Rect& a, const cv::Rect& b) {
    const std::int64_t areaA = std::int64_t{a.width} * a.height;
    const std::int64_t areaB = std::int64_t{b.width} * b.height;
    if (areaA != areaB) {
        return areaA > areaB;
    }
    return a.y != b.y ? a.y < b.y : a.x < b.x;
}

} // namespace

// Row by row: how far up each column is filled, and the largest rectangle below that skyline, by a
// stack of rising steps. Every element is pushed and popped once.
cv::Rect largestRectangle(const cv::Mat& mask) {
    CV_Assert(mask.empty() || mask.type() == CV_8UC1);
    cv::Rect best;
    std::vector<int> heights(static_cast<std::size_t>(mask.cols) + 1, 0); // 0 behind the last
    std::vector<Step> steps;
    for (int y = 0; y < mask.rows; ++y) {
        const std::uint8_t* const row = mask.ptr(y);
        steps.clear();
        for (int x = 0; x <= mask.cols; ++x) {
            int& height = heights[static_cast<std::size_t>(x)];
            height = x < mask.cols && row[x] != 0 ? height + 1 : 0;
            int from = x;
            while (!steps.empty() && steps.back().height >= height) {
                from = steps.back().x;
                const int tall = steps.back().height;
                const cv::Rect found(from, y - tall + 1, x - from, tall);
                if (tall > 0 && isBetter(found, best)) {
                    best = found;
                }
                steps.pop_back();
            }
            steps.push_back({from, height});
        }
    }
    return best;
}

} // namespace tarvix
