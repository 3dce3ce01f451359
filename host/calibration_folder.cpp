#include "host/calibration_folder.h"

#include "calib/calib_files.h"
#include "calib/calib_writer.h"
#include "host/failure.h"
#include "host/saving.h"
#include "platform/system/files.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>

namespace host {

namespace {

using tarvix::CalibFile;
using tarvix::nameOf;
using tarvix::pathOf;

// Files that are written together.
class Writer {
public:
    explicit Writer(const std::string& folder) : m_folder(folder), m_writer(tarvix::systemFiles()) {
        makeFolder(folder);
    }
    void add(const CalibFile& file, const cv::Mat& matrix) {
        const std::filesystem::path path = pathOf(m_folder) / file.name;
        m_writer.add(path, nameOf(path), file.key, matrix);
    }
    void commit() { m_writer.commit(); }

private:
    const std::string& m_folder;
    tarvix::MatrixWriter m_writer;
};

cv::Mat read(const std::string& folder, const CalibFile& file) {
    const std::filesystem::path path = pathOf(folder) / file.name;
    cv::Mat matrix = tarvix::readMatrix(path, nameOf(path), file.key);
    if (matrix.empty()) {
        throw Failure("no matrix " + std::string(file.key) + " in '" + nameOf(path) + "'");
    }
    matrix.convertTo(matrix, CV_64F);
    return matrix;
}

} // namespace

void writeCamera(const std::string& folder, const cv::Mat& cameraMatrix,
                 const cv::Mat& distCoeffs) {
    Writer writer(folder);
    writer.add(tarvix::cameraFile, cameraMatrix);
    writer.add(tarvix::distortionFile, distCoeffs);
    writer.commit();
}

void writePair(const std::string& folder, const tarvix::RectifyingPair& pair) {
    Writer writer(folder);
    for (std::size_t i = 0; i < pair.cameras.size(); ++i) {
        const tarvix::StereoCameraFiles& files = tarvix::stereoCameraFiles[i];
        writer.add(files.cameraMatrix, pair.cameras[i].cameraMatrix);
        writer.add(files.distortion, pair.cameras[i].distortion);
        writer.add(files.rotation, pair.cameras[i].rotation);
        writer.add(files.projection, pair.cameras[i].projection);
    }
    writer.add(tarvix::reprojectionFile, pair.reprojection);
    writer.commit();
}

void readCamera(const std::string& folder, cv::Mat& cameraMatrix, cv::Mat& distCoeffs) {
    cameraMatrix = read(folder, tarvix::cameraFile);
    distCoeffs = read(folder, tarvix::distortionFile);
}

tarvix::RectifyingPair readPair(const std::string& folder) {
    tarvix::RectifyingPair pair;
    for (std::size_t i = 0; i < pair.cameras.size(); ++i) {
        const tarvix::StereoCameraFiles& files = tarvix::stereoCameraFiles[i];
        pair.cameras[i] = {read(folder, files.cameraMatrix), read(folder, files.distortion),
                           read(folder, files.rotation), read(folder, files.projection)};
    }
    pair.reprojection = read(folder, tarvix::reprojectionFile);
    return pair;
}

Metric metricOf(const std::string& folder) {
    const CalibFile& file = tarvix::stereoCameraFiles[0].cameraMatrix;
    const std::filesystem::path path = pathOf(folder) / file.name;
    const cv::Mat matrix = tarvix::readMatrix(path, nameOf(path), file.key);
    if (matrix.rows != 3 || matrix.cols != 3) {
        return Metric::Unknown;
    }
    cv::Mat_<double> doubles = matrix;
    return cv::norm(doubles, cv::Mat_<double>(cv::Mat::eye(3, 3, CV_64F)), cv::NORM_INF) == 0
               ? Metric::No
               : Metric::Yes;
}

std::string notMetric(Metric metric, const std::string& folder) {
    switch (metric) {
    case Metric::Yes:
        return {};
    case Metric::No:
        return "not metric: '" + folder +
               "' holds no focal lengths (MM1 is the unit matrix), so measured numbers are no "
               "lengths; calibrate with stereo-calib --metric";
    default:
        return "not known to be metric: '" + folder + "' has no M1.xml with a camera matrix";
    }
}

} // namespace host
