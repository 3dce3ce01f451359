#include <tarvix/features.h>

#include "bridge/dib_bridge.h"
#include "bridge/file_list.h"
#include "bridge/guard.h"
#include "features/detectors.h"
#include "features/drawn_features.h"
#include "features/panorama.h"
#include "features/registration.h"

using namespace tarvix;

CDib* tx_DetectorTest(CDib& image, int detector) {
    return showCvPassRest<CDib*>(nullptr, [&]() -> CDib* {
        const cv::Mat matrix = DibToMat(image);
        const cv::Ptr<cv::Feature2D> engine = createDetector(detector);
        return engine == nullptr ? nullptr : MatToDib(drawDetected(matrix, *engine).image);
    });
}

CDib* tx_MatchTest(CDib& image1, CDib& image2, int detector, int descriptor) {
    return showCvSwallowRest<CDib*>(nullptr, [&] {
        const cv::Mat drawn = [&] { // the copies are free again when the result is made
            const cv::Mat query = DibToMat(image1);
            const cv::Mat train = DibToMat(image2);
            return orFail(drawMatched(query, train, detector, descriptor).image);
        }();
        return MatToDib(drawn);
    });
}

// Returns 1 on every path, on purpose: the written files show how far it came.
int tx_MatchImages(CStringArray& inputFiles, CStringArray& outputFiles) {
    return showCvPassRest<int>(1, [&] {
        registerImages(filesOf(inputFiles), filesOf(outputFiles));
        return 1;
    });
}

CDib* tx_Stitch(CStringArray& files) {
    using Panorama = std::optional<cv::Mat>;
    const auto panorama =
        showCvPassRest<Panorama>({}, [&] { return stitchPanorama(filesOf(files)); });
    return panorama ? MatToDib(*panorama) : nullptr;
}
