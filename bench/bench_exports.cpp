// Compares exports with the bare OpenCV pipeline on matrices plus one copy in and one copy out, at
// 2 MP (bench/image_size.h: other sizes). If an export reads files, its reference reads them, too.
// tx_TrackFace has no reference: it waits for a camera and a key.
#include "bench/image_size.h"
#include "bench/paired.h"
#include "bridge/dib_bridge.h"
#include "tests/support/files.h"
#include "tests/support/lists.h"

#include <tarvix/tarvix.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/features2d.hpp>
#include <opencv2/flann.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>
#include <opencv2/photo.hpp>
#include <opencv2/stitching.hpp>

#include <array>
#include <bit>
#include <cfloat>
#include <memory>
#include <string>
#include <vector>

namespace {

const cv::Size usualSize(1633, 1225);
const cv::Size imageSize = bench::sizeOr(usualSize);

// Smooth structure with noise: neither the best nor the worst case of any filter.
cv::Mat image(int type) {
    cv::Mat m(imageSize / 8, type);
    cv::theRNG().state = 7;
    cv::randu(m, 0, 256);
    cv::resize(m, m, imageSize, 0, 0, cv::INTER_CUBIC);
    return m;
}

cv::Mat photo(const std::string& name, int flags = cv::IMREAD_COLOR) {
    cv::Mat m = cv::imread(TARVIX_PHOTOS "/" + name, flags);
    if (!m.empty()) {
        cv::resize(m, m, imageSize, 0, 0, cv::INTER_CUBIC);
    }
    return m;
}

template <class Export, class Bare>
void compare(benchmark::State& state, const cv::Mat& source, Export&& call, Bare&& bare) {
    if (source.empty()) {
        state.SkipWithError("no photographs (package opencv-doc)");
        return;
    }
    const tarvix::DibPtr dib(tarvix::MatToDib(source));
    bench::paired(
        state, [&] { const tarvix::DibPtr result(call(*dib)); },
        [&] {
            const cv::Mat copiedIn = source.clone();
            const cv::Mat result = bare(copiedIn);
            benchmark::DoNotOptimize(result.clone().data);
        });
}

void canny(benchmark::State& state) {
    compare(
        state, image(CV_8UC3), [](CDib& dib) { return tx_Canny(dib, 50, 150, 3, 0); },
        [](const cv::Mat& m) {
            cv::Mat edges;
            cv::Canny(m, edges, 50, 150, 3, false);
            return edges;
        });
}

void denoise(benchmark::State& state) {
    compare(
        state, image(CV_8UC3), [](CDib& dib) { return tx_Denoise(dib, 3, 3, 3, 7); },
        [](const cv::Mat& m) {
            cv::Mat out;
            cv::fastNlMeansDenoisingColored(m, out, 3, 3, 3, 7);
            return out;
        });
}

void patch(benchmark::State& state) {
    compare(
        state, image(CV_8UC3),
        [](CDib& dib) { return tx_getRectSubPix(dib, 1200, 900, 800.3F, 600.7F); },
        [](const cv::Mat& m) {
            cv::Mat out;
            cv::getRectSubPix(m, {1200, 900}, {800.3F, 600.7F}, out, -1);
            return out;
        });
}

std::array<double, 8> from =
    bench::inSize({20, 30, 1600, 10, 1580, 1200, 50, 1180}, usualSize, imageSize);
std::array<double, 8> to =
    bench::inSize({0, 0, 1633, 0, 1633, 1225, 0, 1225}, usualSize, imageSize);

cv::Mat homography() {
    std::array<cv::Point2f, 4> f;
    std::array<cv::Point2f, 4> t;
    for (std::size_t i = 0; i < 4; ++i) {
        f.at(i) = cv::Point2d(from.at(2 * i), from.at(2 * i + 1));
        t.at(i) = cv::Point2d(to.at(2 * i), to.at(2 * i + 1));
    }
    return cv::getPerspectiveTransform(f.data(), t.data());
}

void warp(benchmark::State& state) {
    compare(
        state, image(CV_8UC3), [](CDib& dib) { return tx_Projective(dib, from.data(), to.data()); },
        [](const cv::Mat& m) {
            cv::Mat out;
            cv::warpPerspective(m, out, homography(), imageSize);
            return out;
        });
}

void mask(benchmark::State& state) {
    const cv::Mat source = image(CV_8UC3);
    const tarvix::DibPtr dib(tarvix::MatToDib(source));
    // No pixels are copied in: only the size matters.
    bench::paired(
        state,
        [&] { const tarvix::DibPtr result(tx_GetProjectiveMask(*dib, from.data(), to.data())); },
        [&] {
            cv::Mat out;
            cv::warpPerspective(cv::Mat(imageSize, CV_8UC1, cv::Scalar(255)), out, homography(),
                                imageSize);
            benchmark::DoNotOptimize(out.clone().data);
        });
}

std::vector<cv::Point2d> points(const std::array<double, 8>& xy) {
    return {{xy[0], xy[1]}, {xy[2], xy[3]}, {xy[4], xy[5]}, {xy[6], xy[7]}};
}

cv::Mat warpOnWhite(const cv::Mat& m, const std::array<double, 8>& target) {
    cv::Mat out;
    cv::warpPerspective(m, out, cv::findHomography(points(from), points(target)), m.size(),
                        cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar::all(255));
    return out;
}

void scaled(benchmark::State& state) {
    compare(
        state, image(CV_8UC3),
        [](CDib& dib) { return tx_ConvergeScaled(dib, from.data(), to.data()); },
        [](const cv::Mat& m) { return warpOnWhite(m, to); });
}

void converge(benchmark::State& state) {
    state.SetLabel("the bare pipeline is given the corners that the export searches for");
    std::array<double, 12> result{};
    compare(
        state, image(CV_8UC3),
        [&](CDib& dib) { return tx_Converge(dib, from.data(), 0, 1, 0, 0, 0, result.data()); },
        [&](const cv::Mat& m) {
            std::array<double, 8> found{};
            std::copy_n(result.begin(), 8, found.begin());
            return warpOnWhite(m, found);
        });
}

void align(benchmark::State& state) {
    compare(
        state, image(CV_8UC3),
        [](CDib& dib) { return tx_PerspAlign(dib, dib, from.data(), to.data(), 255, 0, 0); },
        [](const cv::Mat& m) { return warpOnWhite(m, to); });
}

void lines(benchmark::State& state) {
    const cv::Mat source = photo("building.jpg");
    compare(
        state, source,
        [](CDib& dib) -> CDib* {
            POINT* found = nullptr;
            tx_FindLines(dib, found);
            const std::unique_ptr<POINT[]> owner(found);
            return nullptr;
        },
        [](const cv::Mat& m) {
            cv::Mat grey, map;
            cv::cvtColor(m, grey, cv::COLOR_RGB2GRAY);
            const double level = cv::threshold(grey, map, 0, 255, cv::THRESH_OTSU);
            cv::Canny(grey, map, level / 3, level);
            std::vector<cv::Vec4i> segments;
            const int shortest = imageSize.height / 10;
            cv::HoughLinesP(map, segments, 1, CV_PI / 180, 50, shortest, 10);
            return cv::Mat(segments, true);
        });
}

void chessboard(benchmark::State& state) {
    compare(
        state, photo("left01.jpg"),
        [](CDib& dib) {
            CString corners;
            return tx_FindChessboard(dib, 9, 6, corners);
        },
        [](const cv::Mat& m) {
            cv::Mat grey;
            cv::cvtColor(m, grey, cv::COLOR_BGR2GRAY);
            std::vector<cv::Point2f> corners;
            const bool isFound = cv::findChessboardCorners(m, {9, 6}, corners);
            if (isFound) { // not in an image that is much larger
                cv::cornerSubPix(grey, corners, {11, 11}, {-1, -1},
                                 {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, 0.01});
                cv::drawChessboardCorners(m, {9, 6}, corners, isFound);
            }
            return m;
        });
}

void faces(benchmark::State& state) {
    compare(
        state, photo("messi5.jpg", cv::IMREAD_GRAYSCALE),
        [](CDib& dib) -> CDib* {
            CArray<RECT, RECT&> found;
            tx_FindFaces(dib, found);
            return nullptr;
        },
        [](const cv::Mat& m) {
            cv::CascadeClassifier classifier(TARVIX_HAAR_CASCADES
                                             "/haarcascade_frontalface_alt.xml");
            cv::equalizeHist(m, m);
            std::vector<cv::Rect> found;
            classifier.detectMultiScale(m, found, 1.1, 2);
            return cv::Mat(found, true);
        });
}

std::vector<cv::KeyPoint> keypoints(const cv::Mat& m) {
    std::vector<cv::KeyPoint> found;
    cv::ORB::create()->detect(m, found);
    return found;
}

void detector(benchmark::State& state) {
    compare(
        state, photo("building.jpg"), [](CDib& dib) { return tx_DetectorTest(dib, 1); },
        [](const cv::Mat& m) {
            cv::Mat drawn;
            cv::drawKeypoints(m, keypoints(m), drawn);
            return drawn;
        });
}

// The same image twice, so two copies are made.
void match(benchmark::State& state) {
    compare(
        state, photo("building.jpg"), [](CDib& dib) { return tx_MatchTest(dib, dib, 1, 0); },
        [](const cv::Mat& m) {
            const cv::Mat second = m.clone();
            std::vector<cv::KeyPoint> k1 = keypoints(m), k2 = keypoints(second);
            cv::Mat d1, d2, drawn;
            cv::ORB::create()->compute(m, k1, d1);
            cv::ORB::create()->compute(second, k2, d2);
            std::vector<cv::DMatch> matches;
            cv::BFMatcher().match(d1, d2, matches);
            cv::drawMatches(m, k1, second, k2, matches, drawn);
            return drawn;
        });
}

// Two overlapping windows of a photograph, of 2 MP each, as files in the folder.
std::vector<std::string> overlapping(const test::TempFolder& folder) {
    cv::Mat whole = photo("building.jpg");
    if (whole.empty()) {
        return {};
    }
    cv::resize(whole, whole, {}, 1.3, 1.3, cv::INTER_CUBIC);
    std::vector<std::string> files{folder / "a.bmp", folder / "b.bmp"};
    cv::imwrite(files[0], whole({{0, 0}, imageSize}));
    cv::imwrite(files[1], whole({{400, 30}, imageSize}));
    return files;
}

// Registers one image onto another with the bare OpenCV calls.
void registerBare(const std::vector<std::string>& files, const std::vector<std::string>& results) {
    const auto orb = cv::ORB::create();
    const auto brisk = cv::BRISK::create();
    std::array<std::vector<cv::KeyPoint>, 2> k;
    std::array<cv::Mat, 2> m, d;
    for (std::size_t i = 0; i < 2; ++i) {
        m[i] = cv::imread(files[i]);
        orb->detect(m[i], k[i]);
        brisk->compute(m[i], k[i], d[i]);
    }
    cv::flann::Index index(d[0], cv::flann::LshIndexParams(12, 20, 2), cvflann::FLANN_DIST_HAMMING);
    cv::Mat indices, dists;
    index.knnSearch(d[1], indices, dists, 2);
    std::vector<cv::Point2f> image, reference;
    for (int j = 0; j < dists.rows; ++j) {
        if (dists.at<int>(j, 0) <= 0.6 * dists.at<int>(j, 1)) {
            image.push_back(k[1][static_cast<std::size_t>(j)].pt);
            reference.push_back(k[0][static_cast<std::size_t>(indices.at<int>(j, 0))].pt);
        }
    }
    const cv::Mat h = cv::findHomography(image, reference, cv::RANSAC, 1.0);
    // The canvas holds the second window too: 400 columns more, 30 rows more.
    cv::Mat canvas = cv::Mat::zeros(imageSize + cv::Size(400, 30), CV_8UC3);
    m[0].copyTo(canvas({{0, 0}, imageSize}));
    cv::imwrite(results[0], canvas);
    const cv::Mat again = cv::imread(files[1]);
    cv::Mat warped;
    cv::warpPerspective(again, warped, h, imageSize);
    canvas.setTo(cv::Scalar::all(0));
    warped.copyTo(canvas({{0, 0}, imageSize}));
    cv::imwrite(results[1], canvas);
}

void registration(benchmark::State& state) {
    const test::TempFolder folder;
    const std::vector<std::string> files = overlapping(folder);
    const std::vector<std::string> results{folder / "1.bmp", folder / "2.bmp"};
    if (files.empty()) {
        state.SkipWithError("no photographs (package opencv-doc)");
        return;
    }
    CStringArray inputs, outputs;
    test::fill(inputs, files);
    test::fill(outputs, results);
    bench::paired(
        state, [&] { tx_MatchImages(inputs, outputs); }, [&] { registerBare(files, results); });
}

void stitch(benchmark::State& state) {
    const test::TempFolder folder;
    const std::vector<std::string> files = overlapping(folder);
    if (files.empty()) {
        state.SkipWithError("no photographs (package opencv-doc)");
        return;
    }
    CStringArray inputs;
    test::fill(inputs, files);
    bench::paired(
        state, [&] { const tarvix::DibPtr result(tx_Stitch(inputs)); },
        [&] {
            cv::Mat panorama;
            cv::Stitcher::create()->stitch(
                std::vector<cv::Mat>{cv::imread(files[0]), cv::imread(files[1])}, panorama);
            benchmark::DoNotOptimize(panorama.clone().data);
        });
}

void load(benchmark::State& state) {
    const test::TempFolder folder;
    const std::string path = folder / "image.png";
    cv::imwrite(path, image(CV_8UC3));
    bench::paired(
        state, [&] { const tarvix::DibPtr result(tx_LoadFile(path.c_str())); },
        [&] { benchmark::DoNotOptimize(cv::imread(path).clone().data); });
}

void options(benchmark::internal::Benchmark* b) {
    b->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(3);
}

constexpr double slow = 15; // seconds: enough pairs for a median

// Named after the export.
#define TARVIX_PAIR(function, name) BENCHMARK(function)->Name(name)->Apply(options)
TARVIX_PAIR(load, "tx_LoadFile");
TARVIX_PAIR(canny, "tx_Canny");
TARVIX_PAIR(denoise, "tx_Denoise")->MinTime(slow);
TARVIX_PAIR(patch, "tx_getRectSubPix");
TARVIX_PAIR(lines, "tx_FindLines");
TARVIX_PAIR(chessboard, "tx_FindChessboard");
TARVIX_PAIR(faces, "tx_FindFaces")->MinTime(slow);
TARVIX_PAIR(warp, "tx_Projective");
TARVIX_PAIR(mask, "tx_GetProjectiveMask");
TARVIX_PAIR(converge, "tx_Converge");
TARVIX_PAIR(scaled, "tx_ConvergeScaled");
TARVIX_PAIR(align, "tx_PerspAlign");
TARVIX_PAIR(detector, "tx_DetectorTest");
TARVIX_PAIR(match, "tx_MatchTest");
TARVIX_PAIR(registration, "tx_MatchImages");
TARVIX_PAIR(stitch, "tx_Stitch")->MinTime(slow);

} // namespace

BENCHMARK_MAIN();
