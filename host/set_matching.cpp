#include "host/set_matching.h"

#include "host/application.h"
#include "host/failure.h"
#include "host/step_progress.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>

namespace host {

namespace {

std::vector<cv::Rect> outlinesOf(const std::vector<PlacedImage>& images) {
    std::vector<cv::Rect> outlines;
    for (std::size_t i = 1; i < images.size(); ++i) {
        if (images[i].whyNot.empty()) {
            outlines.push_back(
                tarvix::projectedOutline(images[i].referenceFromImage, images[i].size));
        }
    }
    return outlines;
}

PlacedImage placeImage(const std::string& file, const tarvix::SetMatcher& matcher,
                       cv::Size reference) {
    PlacedImage placed{.file = file};
    try {
        const cv::Mat image = cv::imread(file, cv::IMREAD_COLOR);
        placed.size = image.size();
        tarvix::SetMatch match = matchOnto(matcher, image);
        placed.matches = match.matches;
        placed.whyNot = whyNotRegistered(match, "the first image");
        placed.referenceFromImage = std::move(match.referenceFromImage);
        if (placed.whyNot.empty()) {
            const tarvix::Canvas alone = tarvix::commonCanvas(
                reference, {tarvix::projectedOutline(placed.referenceFromImage, placed.size)});
            if (!canBeWritten(alone)) {
                placed.whyNot = "its place would need a canvas of " + times(alone.size) + " pixels";
            }
        }
    } catch (const cv::Exception& e) {
        placed.whyNot = application().sentence(e.what());
    }
    return placed;
}

// Leaves out, one after the other, what is wider or higher than the canvas.
void layOut(PlacedSet& set) {
    for (bool isDone = false; !isDone;) {
        set.canvas = tarvix::commonCanvas(set.images.front().size, outlinesOf(set.images));
        const cv::Size size = set.canvas.size;
        const auto larger =
            std::find_if(set.images.begin() + 1, set.images.end(), [&](const PlacedImage& image) {
                return image.whyNot.empty() &&
                       (image.size.width > size.width || image.size.height > size.height);
            });
        isDone = larger == set.images.end();
        if (!isDone) {
            larger->whyNot = "its " + times(larger->size) + " pixels are more than the canvas of " +
                             times(size) + " holds";
        }
    }
    if (!canBeWritten(set.canvas)) {
        throw Failure("all images together would need a canvas of " + times(set.canvas.size) +
                      " pixels");
    }
}

} // namespace

std::string times(cv::Size size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

bool canBeWritten(const tarvix::Canvas& canvas) {
    const cv::Size size = canvas.size;
    return size.width > 0 && size.height > 0 && size.width <= longestSide &&
           size.height <= longestSide && std::int64_t{size.width} * size.height <= mostPixels;
}

tarvix::SetMatch matchOnto(const tarvix::SetMatcher& matcher, const cv::Mat& image) {
    constexpr std::uint64_t states = 3;
    tarvix::SetMatch best = matcher.match(image);
    const auto registers = [](const tarvix::SetMatch& match) {
        return !match.referenceFromImage.empty();
    };
    const cv::RNG after = cv::theRNG();
    for (std::uint64_t state = 1;
         state <= states && !registers(best) && best.matches >= tarvix::fewestMatches / 2;
         ++state) {
        cv::theRNG() = cv::RNG(state);
        tarvix::SetMatch other = matcher.match(image);
        if (registers(other) || other.matches > best.matches) {
            best = std::move(other);
        }
    }
    cv::theRNG() = after;
    return best;
}

std::string whyNotRegistered(const tarvix::SetMatch& match, const std::string& reference) {
    const std::string matches = std::to_string(match.matches);
    if (match.matches < tarvix::fewestMatches) {
        return "too few good matches with " + reference + ": " + matches + ", and " +
               std::to_string(tarvix::fewestMatches) + " are needed";
    }
    return match.referenceFromImage.empty()
               ? "its " + matches + " good matches with " + reference + " do not fit together"
               : "";
}

PlacedSet placeSet(const std::vector<std::string>& files, Output& output) {
    cv::theRNG() = cv::RNG();
    const cv::Mat reference = cv::imread(files.at(0), cv::IMREAD_COLOR);
    const tarvix::SetMatcher matcher(reference);
    PlacedSet set;
    set.images.push_back({.file = files[0],
                          .size = reference.size(),
                          .referenceFromImage = cv::Mat::eye(3, 3, CV_64F)});
    {
        StepProgress progress(output, files.size());
        progress.done(tarvix::nameOf(tarvix::pathOf(files[0]).filename()), "the first image");
        for (std::size_t i = 1; i < files.size(); ++i) {
            const cv::RNG before = cv::theRNG();
            set.images.push_back(placeImage(files[i], matcher, reference.size()));
            const PlacedImage& placed = set.images.back();
            if (!placed.whyNot.empty()) {
                cv::theRNG() = before; // the others register as they do without it
            }
            progress.done(tarvix::nameOf(tarvix::pathOf(files[i]).filename()),
                          placed.whyNot.empty() ? std::to_string(placed.matches) + " good matches"
                                                : placed.whyNot);
        }
    }
    layOut(set);
    const auto other = std::find_if(set.images.begin() + 1, set.images.end(),
                                    [](const PlacedImage& image) { return image.whyNot.empty(); });
    if (files.size() > 1 && other == set.images.end()) {
        throw Failure("no image could be registered onto '" + files[0] +
                      "': " + set.images[1].whyNot);
    }
    return set;
}

} // namespace host
