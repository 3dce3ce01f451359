#include <tarvix/features.h>

#include "bridge/dib_bridge.h"
#include "bridge/guard.h"
#include "features/detectors.h"
#include "features/feature_tests.h"
#include "features/panorama.h"
#include "features/registration.h"

#include <opencv2/imgcodecs.hpp>

#include <string>

using namespace tarvix;

CDib* tx_DetectorTest(CDib& image, int detector) {
    return showCvPassRest<CDib*>(nullptr, [&]() -> CDib* {
        const cv::Mat picture = DibToMat(image);
        const cv::Ptr<cv::Feature2D> engine = createDetector(detector);
        return engine == nullptr ? nullptr : MatToDib(drawDetected(picture, *engine));
    });
}

CDib* tx_MatchTest(CDib& image1, CDib& image2, int detector, int descriptor) {
    return showCvSwallowRest<CDib*>(nullptr, [&] {
        const cv::Mat query = DibToMat(image1);
        const cv::Mat train = DibToMat(image2);
        return MatToDib(drawMatched(query, train, detector, descriptor));
    });
}

// 1 on every path that returns, on purpose: what was written tells how far it came.
int tx_MatchImages(CStringArray& inputFiles, CStringArray& outputFiles) {
    return showCvPassRest<int>(1, [&] {
        registerImages(inputFiles, outputFiles);
        return 1;
    });
}

CDib* tx_Stitch(CStringArray& files) {
    cv::Mat panorama;
    // Not OK until the stitcher has said so: an exception leaves it at that.
    const auto none = cv::Stitcher::ERR_NEED_MORE_IMGS;
    const auto status = showCvPassRest<cv::Stitcher::Status>(none, [&] {
        std::vector<cv::Mat> photographs;
        for (INT_PTR i = 0; i < files.GetSize(); ++i) {
            photographs.push_back(
                cv::imread(std::string(files.GetAt(i).GetString()), cv::IMREAD_COLOR));
            if (photographs.back().empty()) {
                return none;
            }
        }
        return stitchPanorama(photographs, panorama);
    });
    return status == cv::Stitcher::OK ? MatToDib(panorama) : nullptr;
}
