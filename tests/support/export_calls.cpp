// The table of all exports: how each one is called, and with which numbers.
#include "tests/support/exports.h"

#include <tarvix/tarvix.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace test {

namespace {

float narrow(double value) {
    return static_cast<float>(value);
}

int callLoadFile(Arguments& a, Digest& d) {
    return d.take(tx_LoadFile(a.files.at(0).c_str()));
}

int callCanny(Arguments& a, Digest& d) {
    return d.take(tx_Canny(*a.image, a.reals[0], a.reals[1], a.ints[0], a.ints[1]));
}

int callDenoise(Arguments& a, Digest& d) {
    return d.take(
        tx_Denoise(*a.image, narrow(a.reals[0]), narrow(a.reals[1]), a.ints[0], a.ints[1]));
}

int callGetRectSubPix(Arguments& a, Digest& d) {
    return d.take(
        tx_getRectSubPix(*a.image, a.ints[0], a.ints[1], narrow(a.reals[0]), narrow(a.reals[1])));
}

int callFindLines(Arguments& a, Digest& d) {
    POINT* points = nullptr;
    const int count = tx_FindLines(*a.image, points);
    const std::unique_ptr<POINT[]> owner(points);
    d.add(points, sizeof(POINT) * 2 * static_cast<std::size_t>(count));
    return count;
}

int callFindChessboard(Arguments& a, Digest& d) {
    CString corners("before");
    const int found = d.take(tx_FindChessboard(*a.image, a.ints[0], a.ints[1], corners));
    d.add(corners.GetString());
    return found;
}

int callFindFaces(Arguments& a, Digest& d) {
    CArray<RECT, RECT&> faces;
    const int count = tx_FindFaces(*a.image, faces);
    for (INT_PTR i = 0; i < faces.GetSize(); ++i) {
        d.add(&faces[i], sizeof(RECT));
    }
    return count;
}

int callTrackFace(Arguments&, Digest&) {
    return tx_TrackFace("");
}

int callProjective(Arguments& a, Digest& d) {
    return d.take(tx_Projective(*a.image, a.from.data(), a.to.data()));
}

int callGetProjectiveMask(Arguments& a, Digest& d) {
    return d.take(tx_GetProjectiveMask(*a.image, a.from.data(), a.to.data()));
}

int callConverge(Arguments& a, Digest& d) {
    std::array<double, 12> result{};
    const int made = d.take(tx_Converge(*a.image, a.from.data(), a.reals[0], a.reals[1], a.reals[2],
                                        a.reals[3], a.ints[0], result.data()));
    d.add(result.data(), sizeof result);
    return made;
}

int callConvergeScaled(Arguments& a, Digest& d) {
    return d.take(tx_ConvergeScaled(*a.image, a.from.data(), a.to.data()));
}

int callPerspAlign(Arguments& a, Digest& d) {
    return d.take(tx_PerspAlign(*a.image, *a.second, a.from.data(), a.to.data(), a.ints[0],
                                a.ints[1], a.ints[2]));
}

int callDetectorTest(Arguments& a, Digest& d) {
    return d.take(tx_DetectorTest(*a.image, a.ints[0]));
}

int callMatchTest(Arguments& a, Digest& d) {
    return d.take(tx_MatchTest(*a.image, *a.second, a.ints[0], a.ints[1]));
}

int callMatchImages(Arguments& a, Digest&) {
    return tx_MatchImages(a.lists->files, a.lists->outputs);
}

int callStitch(Arguments& a, Digest& d) {
    return d.take(tx_Stitch(a.lists->files));
}

int callCalib(Arguments& a, Digest&) {
    return tx_Calib(a.lists->files, a.folder.c_str(), a.ints[0], a.ints[1], nullptr);
}

int callUseCalib(Arguments& a, Digest& d) {
    std::array<float, 2> sample{-7, -7};
    const int made = d.take(tx_UseCalib(*a.image, a.folder.c_str(), sample.data(), &sample[1]));
    d.add(sample.data(), sizeof sample);
    return made;
}

int callStereoCalib(Arguments& a, Digest&) {
    return tx_StereoCalib(a.lists->files, a.folder.c_str(), a.ints[0], a.ints[1],
                          narrow(a.reals[0]), nullptr);
}

int callUseStereoCalib(Arguments& a, Digest& d) {
    return d.take(tx_UseStereoCalib(*a.image, a.folder.c_str(), a.ints[0]));
}

int callMeas3D(Arguments& a, Digest& d) {
    tx_Meas3D measure;
    const int loaded = measure.Init(a.folder.c_str());
    FPoint2D p1{narrow(a.reals[0]), narrow(a.reals[1])};
    FPoint2D p2{narrow(a.reals[2]), narrow(a.reals[3])};
    FPoint3D point{-7, -7, -7};
    const int computed = measure.CalcXYZ(p1, p2, point);
    d.add(&point, sizeof point);
    return 2 * loaded + computed;
}

constexpr unsigned passAll = passOpenCv | passMemory;

// The inputs of the fuzzers' corpora choose exports by position: new rows come last.
constexpr Export table[] = {
    {.name = "tx_LoadFile", .passes = passAll, .takes = takesFiles, .call = callLoadFile},
    {.name = "tx_Canny", .passes = passAll, .reals = {50, 150}, .ints = {3, 0}, .call = callCanny},
    {.name = "tx_Denoise", .reals = {3, 3}, .ints = {3, 5}, .call = callDenoise},
    {.name = "tx_getRectSubPix",
     .reals = {40.3, 30.7},
     .ints = {50, 40},
     .call = callGetRectSubPix},
    {.name = "tx_FindLines", .passes = passAll, .call = callFindLines},
    {.name = "tx_FindChessboard",
     .ints = {Workplace::boardWidth, Workplace::boardHeight},
     .call = callFindChessboard},
    {.name = "tx_FindFaces", .isQuick = false, .call = callFindFaces},
    {.name = "tx_TrackFace", .takes = takesNothing, .call = callTrackFace},
    {.name = "tx_Projective",
     .passes = passAll,
     .takes = takesBitmap | takesCorners,
     .call = callProjective},
    {.name = "tx_GetProjectiveMask",
     .passes = passAll,
     .takes = takesBitmap | takesCorners,
     .call = callGetProjectiveMask},
    {.name = "tx_Converge",
     .passes = passAll,
     .takes = takesBitmap | takesCorners,
     .reals = {0, 1, 3, -2},
     .ints = {0},
     .call = callConverge},
    {.name = "tx_ConvergeScaled",
     .passes = passAll,
     .takes = takesBitmap | takesCorners,
     .call = callConvergeScaled},
    {.name = "tx_PerspAlign",
     .passes = passAll,
     .takes = takesBitmap | takesCorners,
     .ints = {10, 20, 30},
     .call = callPerspAlign},
    {.name = "tx_DetectorTest", .passes = passMemory, .ints = {1}, .call = callDetectorTest},
    {.name = "tx_MatchTest", .ints = {1, 0}, .call = callMatchTest},
    {.name = "tx_MatchImages",
     .passes = passMemory | passInvalidArgument,
     .takes = takesFiles,
     .isQuick = false,
     .call = callMatchImages},
    {.name = "tx_Stitch",
     .passes = passMemory,
     .takes = takesFiles,
     .isQuick = false,
     .call = callStitch},
    {.name = "tx_Calib",
     .takes = takesFiles,
     .isQuick = false,
     .ints = {Workplace::boardWidth, Workplace::boardHeight},
     .call = callCalib},
    {.name = "tx_StereoCalib",
     .takes = takesFiles,
     .isQuick = false,
     .reals = {25},
     .ints = {Workplace::boardWidth, Workplace::boardHeight},
     .call = callStereoCalib},
    {.name = "tx_UseCalib", .takes = takesBitmap | takesFiles, .call = callUseCalib},
    {.name = "tx_UseStereoCalib",
     .takes = takesBitmap | takesFiles,
     .ints = {1},
     .call = callUseStereoCalib},
    {.name = "tx_Meas3D",
     .takes = takesFiles,
     .isMute = true,
     .reals = {30, 20, 25, 20},
     .call = callMeas3D},
};

} // namespace

std::span<const Export> allExports() {
    return table;
}

const Export& exportNamed(std::string_view name) {
    const auto* const found = std::find_if(std::begin(table), std::end(table),
                                           [&](const Export& e) { return e.name == name; });
    if (found == std::end(table)) {
        throw std::invalid_argument("no export " + std::string(name));
    }
    return *found;
}

std::vector<std::string> exportsThatTake(Takes what) {
    std::vector<std::string> names;
    for (const Export& e : table) {
        if ((e.takes & what) != 0) {
            names.emplace_back(e.name);
        }
    }
    return names;
}

} // namespace test
