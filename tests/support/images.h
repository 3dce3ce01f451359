// Images for tests: bitmaps of every kind, seeded textures, the distribution's photographs.
#pragma once

#include <MorvelDib.h>
#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <memory>
#include <string>

namespace test {

using Dib = std::unique_ptr<CDib>;

// A created bitmap whose stored bytes, padding included, are all `poison`. A negative height makes
// it top-down.
Dib makeDib(int width, int height, int bitCount, unsigned char poison = 0xA5);

// A bottom-up 8- or 24-bit bitmap of a CV_8UC1 or CV_8UC3 image, padding poisoned. Written
// without the code under test.
Dib dibOf(const cv::Mat& image);

// The image of an 8- or 24-bit bottom-up bitmap, read without the code under test; empty if none
// was created. Throws std::invalid_argument for other bitmaps.
cv::Mat matOf(const CDib& dib);

// Seeded noise.
cv::Mat noise(int rows, int cols, int type, std::uint64_t seed = 1);

// Smooth, structured, seeded: shapes and gradients, CV_8UC3.
cv::Mat scene(int rows, int cols, std::uint64_t seed = 1);

// Squares of three sizes with sharp corners, CV_8UC3, so that keypoints are found again in every
// part of it. The smallest squares are `cell` pixels wide.
cv::Mat landscape(cv::Size size, int cell);

// A photograph of OpenCV's samples, colour or grey; fails the test's process if it is missing.
std::string photoPath(const std::string& name);
cv::Mat photo(const std::string& name, bool grey = false);

} // namespace test
