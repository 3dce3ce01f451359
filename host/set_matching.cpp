#include "host/set_matching.h"

#include "host/application.h"
#include "host/failure.h"
#include "host/sentences.h"
#include "host/step_progress.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <utility>

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
                placed.whyNot = "its place would need a canvas of " +
                                times(alone.size.width, alone.size.height) + " pixels";
            }
        }
    } catch (const cv::Exception& e) {
        placed.whyNot = application().sentence(e.what());
    }
    return placed;
}

// Places the images of a set.
class SetPlacing {
public:
    SetPlacing(const std::vector<std::string>& files, Output& output)
        : m_files(files), m_output(output), m_reference(cv::imread(files.at(0), cv::IMREAD_COLOR)),
          m_matcher(m_reference), m_before(files.size()), m_isTooLarge(files.size()) {
        m_set.images.resize(files.size());
        m_set.images.front() = {.file = files[0],
                                .size = m_reference.size(),
                                .referenceFromImage = cv::Mat::eye(3, 3, CV_64F)};
    }

    // Leaves out, one after the other, what is wider or higher than the canvas. Those behind it
    // are placed again, as they are without it.
    PlacedSet placeOnCanvas() {
        {
            StepProgress progress(m_output, m_files.size());
            progress.done(nameOf(0), "the first image");
            placeFrom(1, progress);
        }
        for (std::size_t larger = layOut(); larger < m_files.size(); larger = layOut()) {
            m_isTooLarge[larger] = true;
            cv::theRNG() = m_before[larger];
            const auto behind = m_isTooLarge.begin() + static_cast<std::ptrdiff_t>(larger);
            const auto count = std::count(behind, m_isTooLarge.end(), false);
            StepProgress progress(m_output, static_cast<std::size_t>(count));
            placeFrom(larger + 1, progress);
        }
        return std::move(m_set);
    }

private:
    [[nodiscard]] std::string nameOf(std::size_t image) const {
        return tarvix::nameOf(tarvix::pathOf(m_files[image]).filename());
    }

    // Draws random numbers for those images only that register.
    void placeFrom(std::size_t first, StepProgress& progress) {
        for (std::size_t i = first; i < m_files.size(); ++i) {
            if (m_isTooLarge[i]) {
                continue;
            }
            m_before[i] = cv::theRNG();
            PlacedImage& placed = m_set.images[i];
            placed = placeImage(m_files[i], m_matcher, m_reference.size());
            if (!placed.whyNot.empty()) {
                cv::theRNG() = m_before[i]; // the others register as they do without it
            }
            progress.done(nameOf(i), placed.whyNot.empty()
                                         ? std::to_string(placed.matches) + " good matches"
                                         : placed.whyNot);
        }
    }

    // Makes the canvas. Returns the first image that is larger, or the number of images.
    std::size_t layOut() {
        m_set.canvas = tarvix::commonCanvas(m_reference.size(), outlinesOf(m_set.images));
        const cv::Size size = m_set.canvas.size;
        for (std::size_t i = 1; i < m_files.size(); ++i) {
            PlacedImage& image = m_set.images[i];
            if (image.whyNot.empty() &&
                (image.size.width > size.width || image.size.height > size.height)) {
                image.whyNot = "its " + times(image.size.width, image.size.height) +
                               " pixels are more than the canvas of " +
                               times(size.width, size.height) + " holds";
                return i;
            }
        }
        return m_files.size();
    }

    const std::vector<std::string>& m_files;
    Output& m_output;
    cv::Mat m_reference;
    tarvix::SetMatcher m_matcher;
    PlacedSet m_set;
    std::vector<cv::RNG> m_before;  // the states of the generator before each image
    std::vector<bool> m_isTooLarge; // those that stay left out
};

} // namespace

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

bool isSeen(const cv::Mat& referenceFromImage, cv::Size image, cv::Size reference) {
    cv::Mat seen;
    cv::warpPerspective(cv::Mat(image, CV_8UC1, cv::Scalar(255)), seen, referenceFromImage,
                        reference);
    return cv::countNonZero(seen) > 0;
}

PlacedSet placeSet(const std::vector<std::string>& files, Output& output) {
    cv::theRNG() = cv::RNG();
    PlacedSet set = SetPlacing(files, output).placeOnCanvas();
    if (!canBeWritten(set.canvas)) {
        throw Failure("all images together would need a canvas of " +
                      times(set.canvas.size.width, set.canvas.size.height) + " pixels");
    }
    const auto other = std::find_if(set.images.begin() + 1, set.images.end(),
                                    [](const PlacedImage& image) { return image.whyNot.empty(); });
    if (files.size() > 1 && other == set.images.end()) {
        throw Failure("no image could be registered onto '" + files[0] +
                      "': " + set.images[1].whyNot);
    }
    return set;
}

} // namespace host
