// How the images of a set lie to the first of them: what `register` finds out before it draws, and
// `register-to` of a single image.
#pragma once

#include "features/registration.h"
#include "host/output.h"

#include <opencv2/core/mat.hpp>

#include <string>
#include <vector>

namespace host {

// One image of a set.
struct PlacedImage {
    std::string file;
    cv::Size size{};
    std::size_t matches = 0;      // good ones with the first image; 0 of that one itself
    cv::Mat referenceFromImage{}; // 3 x 3 doubles
    std::string whyNot{};         // why it is left out; empty: it registers
};

struct PlacedSet {
    std::vector<PlacedImage> images; // the reference first
    tarvix::Canvas canvas;           // of those that register
};

// The largest canvas: what OpenCV reads again.
inline constexpr int longestSide = 1 << 20;
inline constexpr std::int64_t mostPixels = std::int64_t{1} << 30;

// Whether the canvas has pixels, and no more than those.
bool canBeWritten(const tarvix::Canvas& canvas);

// Matches an image. One that is near the limit is tried again with other states of OpenCV's
// generator of random numbers, always the same ones; the first that has enough matches counts. The
// generator goes on as after the first try.
tarvix::SetMatch matchOnto(const tarvix::SetMatcher& matcher, const cv::Mat& image);

// Why the image does not register, in a few words; empty if it does.
//   reference  what it is to register onto, such as "the first image"
std::string whyNotRegistered(const tarvix::SetMatch& match, const std::string& reference);

// Whether an image of `image` pixels has anything within a reference of `reference` pixels. A wrong
// homography may put all of it beside that.
bool isSeen(const cv::Mat& referenceFromImage, cv::Size image, cv::Size reference);

// Matches every file with the first and says how far it is. The generator begins as in a new
// process, and images that are left out change nothing about the others. What OpenCV refuses about
// an image leaves that one out. Throws Failure if no image but
// the first is left, unless there is only one, and cv::Exception for a first image that cannot be
// a reference.
PlacedSet placeSet(const std::vector<std::string>& files, Output& output);

} // namespace host
