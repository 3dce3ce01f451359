#include "panorama.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/stitching.hpp>

#include <mutex>
#include <vector>

namespace tarvix {

namespace {

// No photographs if one cannot be read.
std::vector<cv::Mat> readAll(const FileList& files) {
    std::vector<cv::Mat> photographs;
    for (int i = 0; i < files.size; ++i) {
        photographs.push_back(cv::imread(files.at(i), cv::IMREAD_COLOR));
        if (photographs.back().empty()) {
            return {};
        }
    }
    return photographs;
}

// The matcher that a stitcher has anyway, and what it found.
class RecordingMatcher : public cv::detail::BestOf2NearestMatcher {
public:
    struct Pair {
        int first;
        int second;
        PairAgreement agreement;
    };
    [[nodiscard]] const std::vector<Pair>& pairs() const { return m_pairs; }

protected:
    using cv::detail::BestOf2NearestMatcher::match;
    // Called for each pair of photographs, on several threads.
    void match(const cv::detail::ImageFeatures& first, const cv::detail::ImageFeatures& second,
               cv::detail::MatchesInfo& info) override {
        cv::detail::BestOf2NearestMatcher::match(first, second, info);
        const std::lock_guard lock(m_mutex);
        m_pairs.push_back(
            {first.img_idx,
             second.img_idx,
             {static_cast<int>(info.matches.size()), info.num_inliers, info.confidence}});
    }

private:
    std::mutex m_mutex;
    std::vector<Pair> m_pairs;
};

} // namespace

bool isSameView(const PairAgreement& pair) {
    return pair.confidence == 0 && pair.agreeing > 8 + 0.3 * pair.matches;
}

void consider(PanoramaPart& part, int neighbour, const PairAgreement& pair) {
    if (part.neighbour < 0 || pair.agreeing > part.agreeing ||
        (pair.agreeing == part.agreeing && neighbour < part.neighbour)) {
        part.neighbour = neighbour;
        part.matches = pair.matches;
        part.agreeing = pair.agreeing;
        part.isSameView = isSameView(pair);
    }
}

std::optional<cv::Mat> stitchPanorama(const FileList& files) {
    const std::vector<cv::Mat> photographs = readAll(files);
    if (photographs.empty()) {
        return {};
    }
    cv::Mat panorama;
    const auto stitcher = cv::Stitcher::create(cv::Stitcher::PANORAMA);
    if (stitcher->stitch(photographs, panorama) != cv::Stitcher::OK) {
        return {};
    }
    return panorama;
}

ExplainedPanorama explainPanorama(const FileList& files) {
    const std::vector<cv::Mat> photographs = readAll(files);
    if (photographs.empty()) {
        return {};
    }
    const auto stitcher = cv::Stitcher::create(cv::Stitcher::PANORAMA);
    const auto matcher = cv::makePtr<RecordingMatcher>();
    stitcher->setFeaturesMatcher(matcher);
    ExplainedPanorama result;
    if (stitcher->stitch(photographs, result.image) != cv::Stitcher::OK) {
        result.image.release();
    }
    result.parts.resize(photographs.size());
    for (const int used : stitcher->component()) {
        result.parts.at(static_cast<std::size_t>(used)).isUsed = true;
    }
    for (const RecordingMatcher::Pair& pair : matcher->pairs()) {
        PanoramaPart& first = result.parts.at(static_cast<std::size_t>(pair.first));
        PanoramaPart& second = result.parts.at(static_cast<std::size_t>(pair.second));
        if (second.isUsed) {
            consider(first, pair.second, pair.agreement);
        }
        if (first.isUsed) {
            consider(second, pair.first, pair.agreement);
        }
    }
    return result;
}

} // namespace tarvix
