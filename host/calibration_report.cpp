#include "host/calibration_report.h"

#include "calib/undistort.h"
#include "host/calibration_text.h"
#include "host/page.h"
#include "host/report_drawings.h"
#include "platform/system/paths.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace host {

namespace {

std::string nameIn(const Json& file) {
    return tarvix::nameOf(tarvix::pathOf(file.get<std::string>()).filename());
}

cv::Mat photoAt(const Json& file) {
    return cv::imread(file.get<std::string>(), cv::IMREAD_COLOR);
}

double numberAt(const Json& value) {
    return value.is_null() ? 0 : value.get<double>();
}

cv::Mat matrixAt(const Json& rows) {
    cv::Mat_<double> m(static_cast<int>(rows.size()), static_cast<int>(rows.at(0).size()));
    for (int r = 0; r < m.rows; ++r) {
        for (int c = 0; c < m.cols; ++c) {
            m(r, c) = numberAt(rows[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)]);
        }
    }
    return m;
}

std::string figure(const std::string& drawing, const std::string& caption, bool narrow = false) {
    return "<figure" + std::string(narrow ? " class=small" : "") + ">" + drawing + "<figcaption>" +
           escapeHtml(caption) + "</figcaption></figure>\n";
}

std::string section(const std::string& title, const std::string& text, const std::string& content) {
    return "<section><h2>" + escapeHtml(title) + "</h2><p>" + escapeHtml(text) + "</p>\n" +
           content + "</section>\n";
}

std::string row(const std::string& name, const std::string& value, const std::string& usual) {
    return "<tr><td>" + escapeHtml(name) + "</td><td class=number>" + escapeHtml(value) +
           "</td><td>" + escapeHtml(usual) + "</td></tr>\n";
}

std::string table(const std::string& rows) {
    return "<table><tr><th></th><th></th><th>what is good</th></tr>\n" + rows + "</table>\n";
}

std::string findings(const Json& list) {
    std::string items;
    for (const Json& finding : list) {
        const bool good = finding.at("good").get<bool>();
        items += std::string(good ? "<li>" : "<li class=mind>") +
                 escapeHtml(finding.at("sentence").get<std::string>()) + "</li>\n";
    }
    return "<ul class=findings>" + items + "</ul>\n";
}

std::string leftOut(const Json& data) {
    std::string rows;
    for (const Json& item : data.at("leftOut")) {
        rows += row(nameIn(item.at("file")), "", item.at("reason").get<std::string>());
    }
    for (const Json& item : data.at("dropped")) {
        rows += row(item.at("file").get<std::string>(),
                    fixedNumber(numberAt(item.at("rms")), 2) + " px rms", "dropped, as asked");
    }
    return rows.empty() ? ""
                        : section("Left out", "Photographs that were not used.",
                                  "<table>" + rows + "</table>");
}

std::string numbersOf(const Json& camera) {
    std::string rows = row("rms of the corners", fixedNumber(numberAt(camera.at("rms")), 3) + " px",
                           "below 0.5 px is usual for sharp photographs of a flat board; below 0.2 "
                           "is very good");
    if (const Json& cross = camera.at("crossValidation"); !cross.is_null()) {
        rows += row("cross-validation", fixedNumber(numberAt(cross.at("otherRms")), 3) + " px",
                    "half of the photographs predict the other half; near " +
                        fixedNumber(numberAt(cross.at("fitRms")), 3) +
                        " px, the rms of the half that was used");
    }
    const Json& coverage = camera.at("coverage");
    rows += row("cells without a corner", std::to_string(coverage.at("emptyCells").get<int>()),
                "of 100; below 20 is good");
    rows += row("corners in the outer third", std::to_string(coverage.at("thirds")[2].get<int>()),
                "some in every corner of the image; distortion is largest there");
    rows += row("range of tilts",
                fixedNumber(numberAt(camera.at("spread").at("aboutXDeg")), 0) + " and " +
                    fixedNumber(numberAt(camera.at("spread").at("aboutYDeg")), 0) + " degrees",
                "up and down, left and right; above 40 degrees each is good");
    return table(rows);
}

std::string parametersOf(const Json& camera) {
    std::string rows;
    for (const Json& parameter : camera.at("parameters")) {
        const auto name = parameter.at("name").get<std::string>();
        const bool inPixels = name.find_first_of("fc") == 0;
        rows += row(name,
                    fixedNumber(numberAt(parameter.at("value")), inPixels ? 2 : 5) + " \xc2\xb1 " +
                        fixedNumber(numberAt(parameter.at("deviation")), inPixels ? 2 : 5) +
                        (inPixels ? " px" : ""),
                    inPixels ? (name[0] == 'f' ? "a deviation below 0.2 % of it is good"
                                               : "a deviation below 2 px is good")
                             : (name[0] == 'p' ? "near 0 for most lenses"
                                : name == "k1" ? "a deviation below a tenth of it is good"
                                               : "k2 and k3 trade with each other: large "
                                                 "deviations are usual"));
    }
    return table(rows);
}

// A photograph with many corners far out shows the distortion best.
std::string straightLines(const Json& camera, int columns) {
    const Json& images = camera.at("images");
    const auto area = [](const Json& image) {
        std::vector<cv::Point2f> corners;
        for (const Json& c : image.at("corners")) {
            corners.emplace_back(c[0].get<float>(), c[1].get<float>());
        }
        return cv::boundingRect(corners).area();
    };
    const auto widest =
        std::max_element(images.begin(), images.end(),
                         [&](const Json& a, const Json& b) { return area(a) < area(b); });
    const cv::Mat photo = photoAt(widest->at("file"));
    if (photo.empty()) {
        return {};
    }
    const auto parameter = [&](std::size_t i) {
        return numberAt(camera.at("parameters")[i].at("value"));
    };
    const cv::Mat matrix = (cv::Mat_<double>(3, 3) << parameter(0), 0, parameter(2), 0,
                            parameter(1), parameter(3), 0, 0, 1);
    const cv::Mat distortion = (cv::Mat_<double>(1, 5) << parameter(4), parameter(5), parameter(6),
                                parameter(7), parameter(8));
    std::vector<cv::Point2f> seen;
    for (const Json& c : widest->at("corners")) {
        seen.emplace_back(c[0].get<float>(), c[1].get<float>());
    }
    std::vector<cv::Point2f> straight;
    cv::undistortPoints(seen, straight, matrix, distortion, cv::noArray(), matrix);
    return "<div class=row>" +
           figure(drawChords(photo, seen, columns, "as photographed"), nameIn(widest->at("file"))) +
           figure(drawChords(tarvix::undistort(photo, matrix, distortion).image, straight, columns,
                             "undistorted"),
                  "the same, without the lens's distortion") +
           "</div>";
}

std::string cameraSections(const Json& camera, int columns, const std::string& of) {
    std::vector<Bar> bars;
    std::string views;
    for (const Json& image : camera.at("images")) {
        bars.push_back({nameIn(image.at("file")), numberAt(image.at("rms"))});
        views += figure(drawView(image, camera.at("imageSize"), photoAt(image.at("file"))),
                        nameIn(image.at("file")) + ": rms " +
                            fixedNumber(numberAt(image.at("rms")), 2) + " px, largest residual " +
                            fixedNumber(numberAt(image.at("largest")), 2) + " px, tilt " +
                            fixedNumber(numberAt(image.at("tiltDeg")), 0) + " degrees, distance " +
                            fixedNumber(numberAt(image.at("distance")), 1) + " squares",
                        true);
    }
    return section("What to know first" + of,
                   "Whether the estimate is well founded, and the numbers that say so.",
                   findings(camera.at("findings")) + numbersOf(camera)) +
           section(
               "Errors" + of,
               "How far the corners are from where the estimate puts them, in pixels.",
               "<div class=row>" +
                   figure(drawBars(bars, 0.5, "rms of each image"),
                          "rms of each image: one that stands out has a blurred, bent or "
                          "moving board") +
                   figure(drawResidualsOverRadius(camera),
                          "each corner: the same height everywhere is good; a rise to the right "
                          "means that the lens is not described well") +
                   "</div>") +
           section("Coverage" + of, "Where the photographs say something about the lens.",
                   "<div class=row>" +
                       figure(drawCoverage(camera), "bring the board into the orange cells") +
                       figure(drawDeviation(camera),
                              "how well it is known where a point appears (one standard "
                              "deviation): light everywhere is good") +
                       "</div>") +
           section("The camera" + of, "The estimate, with one standard deviation.",
                   parametersOf(camera) + "<div class=row>" +
                       figure(drawDisplacements(camera),
                              "where the lens moves what: smooth, and symmetric about the centre, "
                              "is good",
                              true) +
                       "</div>") +
           section("Straight lines" + of,
                   "The board's rows are straight; red lines join their ends.",
                   straightLines(camera, columns)) +
           section("Every image" + of,
                   "Corners in yellow, residuals in red, 40 times as long as they are.",
                   "<div class=row>" + views + "</div>");
}

std::string head(const std::string& title, const std::vector<std::string>& command) {
    return "<h1>" + escapeHtml(title) + "</h1>\n<p>Made by this command line:</p><pre>" +
           commandLineHtml(command) + "</pre>\n";
}

// Up to three pairs: the best, the middle and the worst one by their row errors.
std::string rectifiedPairs(const Json& data) {
    std::vector<Json> pairs(data.at("pairs").begin(), data.at("pairs").end());
    std::sort(pairs.begin(), pairs.end(), [](const Json& a, const Json& b) {
        return numberAt(a.at("rowError")) < numberAt(b.at("rowError"));
    });
    if (pairs.size() > 3) {
        pairs = {pairs.front(), pairs[pairs.size() / 2], pairs.back()};
    }
    std::string figures;
    for (const Json& pair : pairs) {
        const cv::Mat left = photoAt(pair.at("left"));
        const cv::Mat right = photoAt(pair.at("right"));
        if (left.empty() || right.empty()) {
            continue;
        }
        const auto rectified = [&](const cv::Mat& photo, const std::string& n) {
            return tarvix::rectify(photo, matrixAt(data.at("MM" + n)), matrixAt(data.at("D" + n)),
                                   matrixAt(data.at("R" + n)), matrixAt(data.at("P" + n)));
        };
        figures += figure(drawRectifiedPair(rectified(left, "1"), rectified(right, "2")),
                          nameIn(pair.at("left")) + " and " + nameIn(pair.at("right")) +
                              ": rows differ by " + fixedNumber(numberAt(pair.at("rowError")), 2) +
                              " px (median)");
    }
    return figures;
}

} // namespace

std::string cameraReport(const Json& data, const std::vector<std::string>& command) {
    return pageHtml("Calibration of a camera",
                    head("Calibration of a camera", command) +
                        cameraSections(data, data.at("board")[0].get<int>(), "") + leftOut(data));
}

std::string pairReport(const Json& data, const std::vector<std::string>& command) {
    const bool metric = data.at("metric").get<bool>();
    const Json& square = data.at("square");
    std::string rows =
        row("row error, median", fixedNumber(numberAt(data.at("rowError").at("median")), 3) + " px",
            "below 0.2 px is usual for a pair that stands still") +
        row("row error, nine of ten",
            fixedNumber(numberAt(data.at("rowError").at("p90")), 3) + " px", "below 0.5 px");
    if (metric) {
        rows += row("rms of the corners", fixedNumber(numberAt(data.at("rms")), 3) + " px",
                    "below 0.5 px") +
                row("baseline", fixedNumber(numberAt(data.at("baseline")), 2),
                    "the distance of the cameras, in the unit of --square: measure it") +
                row("a square, measured",
                    fixedNumber(numberAt(square.at("p10")), 2) + " to " +
                        fixedNumber(numberAt(square.at("p90")), 2),
                    "eight of ten; the square is " + fixedNumber(numberAt(square.at("edge")), 2));
    }
    std::vector<Bar> bars;
    for (const Json& pair : data.at("pairs")) {
        bars.push_back({nameIn(pair.at("left")), numberAt(pair.at("rowError"))});
    }
    std::string charts = figure(drawBars(bars, 0.2, "Row error of each pair"),
                                "row error of each pair (median, pixels): one that stands out was "
                                "not taken together");
    charts +=
        figure(drawHistogram(square.at("histogram"), metric ? numberAt(square.at("edge")) : 0),
               metric ? "distances of neighbouring corners in space: a narrow hill about the "
                        "square is good"
                      : "distances of neighbouring corners: no lengths, as the calibration "
                        "is not metric");
    std::string body = head("Calibration of a camera pair", command) +
                       section("What to know first", "Whether rows match, and lengths are right.",
                               findings(data.at("findings")) + table(rows) + "<div class=row>" +
                                   charts + "</div>") +
                       section("Rectified pairs",
                               "Corresponding points are in one row, if the calibration is good.",
                               rectifiedPairs(data));
    if (metric) {
        const int columns = data.at("board")[0].get<int>();
        body += cameraSections(data.at("cameras")[0], columns, ", left camera") +
                cameraSections(data.at("cameras")[1], columns, ", right camera");
    }
    return pageHtml("Calibration of a camera pair", body + leftOut(data));
}

} // namespace host
