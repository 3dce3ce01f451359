#include "tests/support/images.h"

#include "tests/support/stored_rows.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace test {

namespace {

unsigned char* storedLine(const CDib& dib, int fromTop) {
    const BITMAPINFOHEADER& header = dib.m_bmi.bmiHeader;
    return dib.m_pBits + static_cast<std::size_t>(header.biHeight - 1 - fromTop) * rowBytes(header);
}

} // namespace

Dib makeDib(int width, int height, int bitCount, unsigned char poison) {
    auto dib = std::make_unique<CDib>();
    if (dib->Create(width, height, bitCount, nullptr, nullptr) == 0) {
        throw std::runtime_error("the test's bitmap cannot be created");
    }
    std::memset(dib->m_pBits, poison, storedBytes(dib->m_bmi.bmiHeader));
    return dib;
}

Dib dibOf(const cv::Mat& image) {
    Dib dib = makeDib(image.cols, image.rows, image.channels() * 8);
    for (int r = 0; r < image.rows; ++r) {
        std::memcpy(storedLine(*dib, r), image.ptr(r),
                    static_cast<std::size_t>(image.cols) * image.elemSize());
    }
    return dib;
}

cv::Mat matOf(const CDib& dib) {
    const BITMAPINFOHEADER& header = dib.m_bmi.bmiHeader;
    if (dib.m_hBitmap == nullptr) {
        return {};
    }
    if (header.biHeight < 0 || (header.biBitCount != 8 && header.biBitCount != 24)) {
        throw std::invalid_argument("the test reads only 8 and 24 bits, bottom-up");
    }
    cv::Mat m(header.biHeight, header.biWidth, header.biBitCount == 8 ? CV_8UC1 : CV_8UC3);
    for (int r = 0; r < m.rows; ++r) {
        std::memcpy(m.ptr(r), storedLine(dib, r), static_cast<std::size_t>(m.cols) * m.elemSize());
    }
    return m;
}

cv::Mat noise(int rows, int cols, int type, std::uint64_t seed) {
    cv::Mat m(rows, cols, type);
    cv::RNG rng(seed);
    rng.fill(m, cv::RNG::UNIFORM, 0, 256);
    return m;
}

cv::Mat scene(int rows, int cols, std::uint64_t seed) {
    cv::Mat m(rows, cols, CV_8UC3);
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < cols; ++x) {
            m.at<cv::Vec3b>(y, x) = {static_cast<unsigned char>(x * 255 / std::max(cols, 1)),
                                     static_cast<unsigned char>(y * 255 / std::max(rows, 1)),
                                     static_cast<unsigned char>((x + y) % 256)};
        }
    }
    cv::RNG rng(seed);
    for (int i = 0; i < 60; ++i) {
        const cv::Point a(rng.uniform(0, cols), rng.uniform(0, rows));
        const cv::Scalar colour(rng.uniform(0, 256), rng.uniform(0, 256), rng.uniform(0, 256));
        if (i % 2 == 0) {
            cv::circle(m, a, rng.uniform(3, 30), colour, cv::FILLED);
        } else {
            cv::rectangle(m, a, a + cv::Point(rng.uniform(4, 50), rng.uniform(4, 50)), colour,
                          cv::FILLED);
        }
    }
    return m;
}

cv::Mat landscape(cv::Size size, int cell) {
    cv::Mat whole(size, CV_8UC3, cv::Scalar::all(0));
    for (const int width : {cell, 2 * cell, 4 * cell}) {
        cv::Mat layer;
        cv::resize(noise(size.height / width + 1, size.width / width + 1, CV_8UC3, 5), layer, size,
                   0, 0, cv::INTER_NEAREST);
        cv::addWeighted(whole, 0.6, layer, 0.4, 0, whole);
    }
    cv::normalize(whole, whole, 0, 255, cv::NORM_MINMAX);
    return whole;
}

std::string photoPath(const std::string& name) {
    std::string path = std::string(TARVIX_PHOTOS) + "/" + name;
    if (!std::filesystem::exists(path)) {
        throw std::runtime_error("missing photograph " + path + " (package opencv-doc)");
    }
    return path;
}

cv::Mat photo(const std::string& name, bool grey) {
    return cv::imread(photoPath(name), grey ? cv::IMREAD_GRAYSCALE : cv::IMREAD_COLOR);
}

} // namespace test
