#include "host/calibration_json.h"

#include "assist/lens_field.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

const cv::Size fieldSamples(16, 12);
constexpr std::size_t histogramBins = 25;

Json sizeAsJson(cv::Size size) {
    return Json::array({size.width, size.height});
}

template <class Point>
Json pointsAsJson(const std::vector<Point>& points) {
    Json list = Json::array();
    for (const Point& p : points) {
        list.push_back(Json::array({p.x, p.y}));
    }
    return list;
}

template <class Number>
Json rowsAsJson(const cv::Mat_<Number>& m) {
    Json rows = Json::array();
    for (int r = 0; r < m.rows; ++r) {
        rows.push_back(std::vector<Number>(m[r], m[r] + m.cols));
    }
    return rows;
}

Json imagesAsJson(const tarvix::CalibrationQuality& quality,
                  const std::vector<tarvix::SeenBoard>& views,
                  const std::vector<std::string>& files) {
    Json images = Json::array();
    for (std::size_t i = 0; i < views.size(); ++i) {
        const tarvix::ViewEstimate& view = quality.camera.views.at(i);
        images.push_back({{"file", files.at(i)},
                          {"rms", view.rms},
                          {"largest", view.largest},
                          {"tiltDeg", quality.spread.tiltDeg.at(i)},
                          {"distance", quality.spread.distance.at(i)},
                          {"corners", pointsAsJson(views[i].corners)},
                          {"residuals", pointsAsJson(view.residuals)}});
    }
    return images;
}

Json parametersAsJson(const tarvix::CameraEstimate& camera) {
    Json parameters = Json::array();
    for (int i = 0; i < tarvix::parameterCount; ++i) {
        parameters.push_back({{"name", tarvix::parameterNames[i]},
                              {"value", camera.parameters[i]},
                              {"deviation", camera.deviations[i]}});
    }
    return parameters;
}

Json displacementsAsJson(const tarvix::CameraEstimate& camera) {
    Json displacements = Json::array();
    for (const auto& [ideal, shift] : tarvix::lensField(camera.cameraMatrix, camera.distCoeffs,
                                                        camera.imageSize, fieldSamples)) {
        displacements.push_back(Json::array({ideal.x, ideal.y, shift.x, shift.y}));
    }
    return displacements;
}

Json histogram(const std::vector<double>& sorted) {
    const double first = tarvix::quantile(sorted, 0.01);
    const double width = std::max(tarvix::quantile(sorted, 0.99) - first, 1e-12) / histogramBins;
    std::vector<int> counts(histogramBins, 0);
    for (const double value : sorted) {
        const double bin = (value - first) / width;
        if (bin >= 0 && bin <= histogramBins) {
            ++counts[std::min(static_cast<std::size_t>(bin), histogramBins - 1)];
        }
    }
    return {{"from", first}, {"width", width}, {"counts", counts}};
}

} // namespace

Json cameraAsJson(const tarvix::CalibrationQuality& quality,
                  const std::vector<tarvix::SeenBoard>& views,
                  const std::vector<std::string>& files) {
    const tarvix::CameraEstimate& camera = quality.camera;
    const auto& cross = quality.crossValidation;
    Json findings = Json::array();
    for (const tarvix::Finding& finding : tarvix::findingsOf(quality, files)) {
        findings.push_back({{"good", finding.isGood}, {"sentence", finding.sentence}});
    }
    return {{"imageSize", sizeAsJson(camera.imageSize)},
            {"rms", camera.rms},
            {"crossValidation",
             cross ? Json{{"fitRms", cross->fitRms}, {"otherRms", cross->otherRms}} : Json()},
            {"worst", files.at(quality.worst)},
            {"parameters", parametersAsJson(camera)},
            {"images", imagesAsJson(quality, views, files)},
            {"coverage",
             {{"cells", rowsAsJson(quality.coverage.cells)},
              {"emptyCells", quality.coverage.emptyCells},
              {"thirds", quality.coverage.thirds},
              {"farthest", quality.coverage.farthest}}},
            {"spread",
             {{"aboutXDeg", quality.spread.aboutXDeg}, {"aboutYDeg", quality.spread.aboutYDeg}}},
            {"deviation", rowsAsJson(quality.deviation)},
            {"displacements", displacementsAsJson(camera)},
            {"findings", findings}};
}

Json leftOutAsJson(const std::vector<LeftOut>& leftOut) {
    Json list = Json::array();
    for (const auto& [file, reason] : leftOut) {
        list.push_back({{"file", file}, {"reason", reason}});
    }
    return list;
}

Json droppedAsJson(const tarvix::Refit& refit, const std::vector<std::string>& names) {
    Json list = Json::array();
    for (const auto& [view, rms] : refit.dropped) {
        list.push_back({{"file", names.at(view)}, {"rms", rms}});
    }
    return list;
}

Json rectificationAsJson(const std::vector<tarvix::SeenPair>& pairs, cv::Size pattern,
                         const tarvix::RectifyingPair& rectifying,
                         const std::vector<std::string>& files,
                         const std::optional<tarvix::MetricPair>& metric) {
    const tarvix::RowErrors rows = tarvix::rowErrorsOf(pairs, rectifying);
    Json list = Json::array();
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        list.push_back({{"left", files.at(2 * i)},
                        {"right", files.at(2 * i + 1)},
                        {"rms", metric ? Json(metric->pairRms.at(i)) : Json()},
                        {"rowError", rows.pairMedian[i]}});
    }
    const std::vector<double> lengths = tarvix::squareLengths(pairs, pattern, rectifying);
    return {{"rowError", {{"median", rows.median}, {"p90", rows.p90}}},
            {"square",
             {{"p10", tarvix::quantile(lengths, 0.1)},
              {"median", tarvix::quantile(lengths, 0.5)},
              {"p90", tarvix::quantile(lengths, 0.9)},
              {"histogram", histogram(lengths)}}},
            {"pairs", list}};
}

} // namespace host
