#include "detectors.h"

namespace tarvix {

cv::Ptr<cv::ORB> createOrb() {
    return cv::ORB::create(/*nfeatures*/ 500, /*scaleFactor*/ 1.2F, /*nlevels*/ 8,
                           /*edgeThreshold*/ 31, /*firstLevel*/ 0, /*WTA_K*/ 2,
                           cv::ORB::HARRIS_SCORE, /*patchSize*/ 31, /*fastThreshold*/ 20);
}

cv::Ptr<cv::BRISK> createBrisk() {
    return cv::BRISK::create(/*thresh*/ 30, /*octaves*/ 3, /*patternScale*/ 1.0F);
}

cv::Ptr<cv::Feature2D> createDetector(int selector) {
    switch (selector) {
    case 0:
        return cv::MSER::create(/*delta*/ 5, /*min_area*/ 60, /*max_area*/ 14400,
                                /*max_variation*/ 0.25, /*min_diversity*/ 0.2,
                                /*max_evolution*/ 200, /*area_threshold*/ 1.01,
                                /*min_margin*/ 0.003, /*edge_blur_size*/ 5);
    case 1:
        return createOrb();
    case 2:
        return createBrisk();
    case 3:
        return cv::KAZE::create(/*extended*/ false, /*upright*/ false, /*threshold*/ 0.001F,
                                /*nOctaves*/ 4, /*nOctaveLayers*/ 4, cv::KAZE::DIFF_PM_G2);
    case 4:
        return cv::AKAZE::create(cv::AKAZE::DESCRIPTOR_MLDB, /*descriptor_size*/ 0,
                                 /*descriptor_channels*/ 3, /*threshold*/ 0.001F, /*nOctaves*/ 4,
                                 /*nOctaveLayers*/ 4, cv::KAZE::DIFF_PM_G2);
    default:
        return {};
    }
}

cv::Ptr<cv::Feature2D> createExtractor(int selector) {
    switch (selector) {
    case 0:
        return createOrb();
    case 1:
        return createBrisk();
    default:
        return {};
    }
}

} // namespace tarvix
