#include "drawn_features.h"

#include "detectors.h"

#include <vector>

namespace tarvix {

DrawnKeypoints drawDetected(const cv::Mat& image, cv::Feature2D& detector) {
    std::vector<cv::KeyPoint> keypoints;
    detector.detect(image, keypoints, cv::noArray());
    cv::Mat drawn;
    cv::drawKeypoints(image, keypoints, drawn, cv::Scalar::all(-1), cv::DrawMatchesFlags::DEFAULT);
    return {drawn, keypoints.size()};
}

DrawnMatches drawMatched(const cv::Mat& query, const cv::Mat& train, int detectorSelector,
                         int extractorSelector) {
    if (query.empty() || train.empty()) {
        return {};
    }
    const cv::Ptr<cv::Feature2D> detector = createDetector(detectorSelector);
    if (detector == nullptr) {
        return {};
    }
    std::vector<cv::KeyPoint> queryKeypoints;
    std::vector<cv::KeyPoint> trainKeypoints;
    detector->detect(query, queryKeypoints, cv::noArray());
    detector->detect(train, trainKeypoints, cv::noArray());

    const cv::Ptr<cv::Feature2D> extractor = createExtractor(extractorSelector);
    if (extractor == nullptr) {
        return {};
    }
    cv::Mat queryDescriptors;
    cv::Mat trainDescriptors;
    extractor->compute(query, queryKeypoints, queryDescriptors);
    extractor->compute(train, trainKeypoints, trainDescriptors);

    const cv::BFMatcher matcher(cv::NORM_L2, false);
    std::vector<cv::DMatch> matches;
    matcher.match(queryDescriptors, trainDescriptors, matches, cv::noArray());
    cv::Mat drawn;
    cv::drawMatches(query, queryKeypoints, train, trainKeypoints, matches, drawn,
                    cv::Scalar::all(-1), cv::Scalar::all(-1), std::vector<char>(),
                    cv::DrawMatchesFlags::DEFAULT);
    return {drawn, matches.size(), queryKeypoints.size(), trainKeypoints.size()};
}

} // namespace tarvix
