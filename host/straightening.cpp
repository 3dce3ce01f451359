#include "host/straightening.h"

#include "assist/canvas.h"
#include "assist/correction.h"
#include "assist/proposals.h"
#include "host/correction_file.h"
#include "host/drawing.h"
#include "host/failure.h"
#include "host/photograph_file.h"

#include <tarvix/tarvix.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <memory>
#include <sstream>

namespace host {

using tarvix::Correction;
using tarvix::Quad;

namespace {

// A canvas with more pixels than the image many times over comes from a horizon close by.
constexpr double largestCanvas = 16;

constexpr double farthestOffset = 1e6; // pixels

constexpr const char* noBitmap = "no bitmap could be made for the corrected image";

Quad quadOf(const Corners& c) {
    return {cv::Point2d(c[0], c[1]), cv::Point2d(c[2], c[3]), cv::Point2d(c[4], c[5]),
            cv::Point2d(c[6], c[7])};
}

Corners arrayOf(const Quad& q) {
    return {q[0].x, q[0].y, q[1].x, q[1].y, q[2].x, q[2].y, q[3].x, q[3].y};
}

Json pointsOf(const Quad& corners) {
    Json points = Json::array();
    for (const cv::Point2d& p : corners) {
        points.push_back({p.x, p.y});
    }
    return points;
}

cv::Size sizeOf(const CDib& dib) {
    const BITMAPINFOHEADER& header = dib.m_bmi.bmiHeader;
    return {header.biWidth, std::abs(header.biHeight)};
}

// A focal length and where it is from.
struct KnownFocal {
    double mm = 0; // 0: not known
    std::string source = "searched";
    bool cropped = false; // the file says it, but of an image that was cropped since
};

KnownFocal knownFocal(const StraighteningOptions& o, cv::Size image) {
    if (o.focal) {
        return *o.focal != 0 ? KnownFocal{*o.focal, "given"} : KnownFocal{};
    }
    const tarvix::ExifFacts exif = readPhotographFile(o.in).exif;
    if (const auto mm = tarvix::focal35Of(exif, image, o.cropFactor)) {
        const bool isComputed = !exif.focal35Mm && o.cropFactor == 0;
        return {*mm, isComputed ? "from the lens and the sensor in the file" : "from the file"};
    }
    KnownFocal unknown;
    unknown.cropped = (exif.focalMm || exif.focal35Mm) && tarvix::wasCropped(exif, image);
    return unknown;
}

// A correction with the image that comes of it.
struct Straightened {
    Correction correction{};
    KnownFocal focal{};
    cv::Mat image{};
    Quad onCanvas{}; // where the corrected corners are on it
};

// The search, and the image at its own size.
Straightened searched(const StraighteningOptions& o, CDib& in, const Quad& marked,
                      const KnownFocal& focal) {
    Corners corners = arrayOf(marked);
    const auto converge = [&](bool pitchOnly, std::array<double, 12>& found) {
        return take(tx_Converge(in, corners.data(), focal.mm, o.scale, o.offset[0], o.offset[1],
                                pitchOnly ? 1 : 0, found.data()),
                    noBitmap);
    };
    const auto correctedOf = [](const std::array<double, 12>& found) {
        Corners corrected{};
        std::copy_n(found.begin(), corrected.size(), corrected.begin());
        return quadOf(corrected);
    };
    std::array<double, 12> found{};
    Straightened s{.focal = focal, .image = converge(o.pitchOnly, found)};
    s.correction = {.image = sizeOf(in),
                    .marked = marked,
                    .corrected = correctedOf(found),
                    .pitchDeg = found[8],
                    .yawDeg = found[9],
                    .rollDeg = found[10],
                    .focalMm = found[11],
                    .searchedFocal = focal.mm == 0,
                    .pitchOnly = o.pitchOnly,
                    .scale = o.scale};
    s.onCanvas = s.correction.corrected;
    if (o.pitchOnly) { // which leaves the other angles in the corners
        converge(false, found);
    }
    s.correction.missedDeg = tarvix::missedRightAnglesDeg(correctedOf(found));
    if (!o.asGiven && !std::isfinite(s.correction.missedDeg)) {
        throw Failure("no pose was found for these corners and this focal length");
    }
    return s;
}

// A correction from a file, and the image at its own size.
Straightened applied(const StraighteningOptions& o, CDib& in) {
    Straightened s{.correction = scaledTo(loadCorrection(o.apply), sizeOf(in), o.in),
                   .focal = {.source = "from the correction"}};
    Corners marked = arrayOf(s.correction.marked);
    Corners corrected = arrayOf(s.correction.corrected);
    s.image = take(tx_ConvergeScaled(in, marked.data(), corrected.data()), noBitmap);
    s.onCanvas = s.correction.corrected;
    return s;
}

// Moves the result to another canvas: `from` on the image come to be where `to` are on it.
void putOnCanvas(CDib& in, Straightened& s, cv::Size2d size, const Quad& from, const Quad& to) {
    const cv::Size image = s.correction.image;
    if (!std::isfinite(size.area())) {
        throw Failure("no rectangle explains these corners, so nothing can be cut out");
    }
    if (!(size.area() <= largestCanvas * image.area())) {
        std::ostringstream text;
        text << std::fixed << std::setprecision(0) << size.width << " x " << size.height;
        throw Failure("the canvas would have " + text.str() +
                      " pixels, more than 16 times those of the image");
    }
    Corners source = arrayOf(from);
    Corners target = arrayOf(to);
    s.image = take(tx_Projective(in, source.data(), target.data()),
                   "the corners give no canvas that a bitmap can hold");
}

void crop(CDib& in, Straightened& s) {
    const Correction& c = s.correction;
    if (c.pitchOnly) {
        throw Failure("the correction straightens the verticals only, and leaves no rectangle that "
                      "could be cut out");
    }
    const cv::Size2d size = tarvix::naturalSize(c.marked, c.corrected, c.scale);
    s.onCanvas = tarvix::outlineOf(size);
    putOnCanvas(in, s, size, c.marked, s.onCanvas);
}

void fit(CDib& in, Straightened& s) {
    const Correction& c = s.correction;
    const auto canvas = tarvix::fittedCanvas(c.marked, c.corrected, c.image);
    if (!canvas) {
        throw Failure("the horizon of the rectangle crosses the image, so no canvas holds all of "
                      "it; use --crop");
    }
    s.onCanvas = canvas->corners;
    putOnCanvas(in, s, canvas->size, tarvix::outlineOf(c.image), canvas->outline);
}

// The segments by which facades are proposed.
std::vector<cv::Vec4i> segmentsOf(CDib& in) {
    POINT* ends = nullptr;
    const int count = tx_FindLines(in, ends);
    const std::unique_ptr<POINT[]> owned(ends);
    std::vector<cv::Vec4i> segments;
    for (std::ptrdiff_t i = 0; i < 2 * std::ptrdiff_t{count}; i += 2) {
        const POINT& a = ends[i];
        const POINT& b = ends[i + 1];
        segments.emplace_back(a.x, a.y, b.x, b.y);
    }
    return segments;
}

Json proposalsOf(const std::vector<tarvix::Proposal>& proposals) {
    Json list = Json::array();
    for (const tarvix::Proposal& proposal : proposals) {
        list.push_back({{"kind", proposal.kind},
                        {"score", proposal.score},
                        {"corners", pointsOf(proposal.corners)}});
    }
    return list;
}

// The image with its corners, as a file of that name.
ImageBeside overlay(const std::string& path, const cv::Mat& image, const Quad& corners,
                    const cv::Scalar& colour) {
    return {path, [=] {
                if (!canBeDrawn(arrayOf(corners))) {
                    throw Failure("the corners are too far out to be drawn on '" + path + "'");
                }
                return withCorners(image, arrayOf(corners), colour);
            }};
}

Json dataOf(const Straightened& s, const std::optional<std::string>& refusal) {
    const Correction& c = s.correction;
    Json data = {{"pitch_deg", c.pitchDeg},        {"yaw_deg", c.yawDeg},
                 {"roll_deg", c.rollDeg},          {"focal_mm", c.focalMm},
                 {"focal_source", s.focal.source}, {"missed_right_angles_deg", c.missedDeg},
                 {"marked", pointsOf(c.marked)},   {"corners", pointsOf(s.onCanvas)},
                 {"width", s.image.cols},          {"height", s.image.rows},
                 {"remarks", Json::array()}};
    if (refusal) {
        data["remarks"].push_back({{"code", "refused"}, {"text", *refusal}});
    }
    if (s.focal.cropped) {
        data["remarks"].push_back(
            {{"code", "focal-not-used"},
             {"text", "the file states a focal length, but the image was cropped since, so it is "
                      "searched"}});
    }
    for (const tarvix::Remark& remark : tarvix::remarksOn(c, s.onCanvas, s.image.size())) {
        data["remarks"].push_back({{"code", remark.code}, {"text", remark.text}});
    }
    return data;
}

} // namespace

Result straighten(const StraighteningOptions& o, CDib& in) {
    std::optional<std::string> refusal;
    std::vector<tarvix::Proposal> found;
    Straightened s;
    if (std::max(std::abs(o.offset[0]), std::abs(o.offset[1])) > farthestOffset) {
        throw BadUsage("--offset is above a million pixels");
    }
    if (!o.apply.empty()) {
        s = applied(o, in);
    } else if (o.corners) {
        Quad marked = quadOf(*o.corners);
        refusal = tarvix::refusalOf(marked);
        if (refusal && !o.asGiven) {
            throw Failure(*refusal + "; mark the four corners of a rectangle");
        }
        if (!o.asGiven) {
            marked = tarvix::sortedCorners(marked);
        }
        s = searched(o, in, marked, knownFocal(o, sizeOf(in)));
    } else if (o.automatic) {
        found = tarvix::proposals(toMatrix(in), segmentsOf(in));
        if (found.empty()) {
            throw Failure("no rectangle stands out in '" + o.in +
                          "'; give the corners (--corners)");
        }
        s = searched(o, in, found.front().corners, knownFocal(o, sizeOf(in)));
    } else {
        throw BadUsage("give the corners (--corners), --auto or a correction (--apply)");
    }
    if (o.crop) {
        crop(in, s);
    } else if (o.fit) {
        fit(in, s);
    }
    if (!o.save.empty()) {
        saveCorrection(s.correction, o.save);
    }
    Result result{.image = s.image, .data = dataOf(s, refusal)};
    if (o.automatic) {
        result.data["proposals"] = proposalsOf(found);
    }
    if (!o.overlay.empty()) {
        result.beside = {overlay(o.overlay[0], toMatrix(in), s.correction.marked, {40, 40, 235}),
                         overlay(o.overlay[1], result.image, s.onCanvas, {60, 190, 30})};
    }
    return result;
}

} // namespace host
