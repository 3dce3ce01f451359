#include <tarvix/calib.h>

#include "bridge/bitmap_matrices.h"
#include "bridge/decimal_point.h"
#include "bridge/dib_bridge.h"
#include "bridge/dib_view.h"
#include "bridge/file_list.h"
#include "bridge/guard.h"
#include "bridge/host_files.h"
#include "bridge/host_paths.h"
#include "bridge/preview.h"
#include "calib/calib_files.h"
#include "calib/calib_writer.h"
#include "calib/calibrate.h"
#include "calib/meas3d.h"
#include "calib/preview.h"
#include "calib/stereo_calibrate.h"
#include "calib/undistort.h"

#include <opencv2/imgcodecs.hpp>

#include <utility>
#include <vector>

using namespace tarvix;

namespace {

// Draws each view into the host's window; nothing without a window.
ShowView previewInto(HWND window, cv::Size pattern) {
    if (window == nullptr) {
        return {};
    }
    return [=](const std::string& file, const BoardCorners& corners, cv::Size imageSize) {
        const std::optional<cv::Size> client = clientSize(window);
        if (client) { // not closed while the calibration runs
            const cv::Mat colour = cv::imread(file, cv::IMREAD_COLOR);
            drawInto(window, previewImage(colour, pattern, corners, imageSize, *client));
        }
    };
}

cv::Mat needMatrix(const char* folder, const CalibFile& file) {
    const HostPath path = pathIn(folder, file.name);
    if (!exists(path)) {
        failSilently();
    }
    return readMatrix(path.path, path.name, file.key);
}

// The matrices of one calibration. A file that is missing fails silently, an empty matrix with a
// message once all files have been read.
std::vector<cv::Mat> needMatrices(const char* folder, const std::vector<CalibFile>& files) {
    const DecimalPoint point;
    // A calibration that ends at this moment is waited for: its files belong together.
    const auto lock = hostFiles().lockFolder(pathIn(folder, files.front().name).path.parent_path(),
                                             Access::Shared);
    std::vector<cv::Mat> matrices;
    matrices.reserve(files.size());
    for (const CalibFile& file : files) {
        matrices.push_back(needMatrix(folder, file));
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        refuseEmpty(matrices[i], files[i]);
    }
    return matrices;
}

void add(MatrixWriter& writer, const char* folder, const CalibFile& file, const cv::Mat& matrix) {
    const DecimalPoint point;
    const HostPath path = pathIn(folder, file.name);
    writer.add(path.path, path.name, file.key, matrix);
}

} // namespace

int tx_Calib(CStringArray& files, const char* folder, int boardW, int boardH, HWND preview) {
    return showCvSwallowRest<int>(0, [&] {
        const cv::Size pattern(boardW, boardH);
        const CameraCalibration camera =
            orFail(calibrateCamera(filesOf(files), pattern, previewInto(preview, pattern)));
        MatrixWriter writer(hostFiles()); // both files or none
        add(writer, folder, cameraFile, camera.cameraMatrix);
        add(writer, folder, distortionFile, camera.distCoeffs);
        writer.commit();
        return 1;
    });
}

CDib* tx_UseCalib(CDib& image, const char* folder, float* outA, float* outB) {
    return showCvSwallowRest<CDib*>(nullptr, [&] {
        const auto matrices = needMatrices(folder, {cameraFile, distortionFile});
        Undistorted result = undistort(DibToMat(image), matrices[0], matrices[1], bitmapMatrices());
        DibPtr dib(orFail(resultToDib(std::move(result.image))));
        if (outA != nullptr && outB != nullptr) {
            // On purpose: the row from the width, the column from the height, and y before x.
            const DibView view = viewOf(image);
            *outA = mapSample(result.map2, view.width / 2, view.rows / 2);
            *outB = mapSample(result.map1, view.width / 2, view.rows / 2);
        }
        return dib.release();
    });
}

int tx_StereoCalib(CStringArray& files, const char* folder, int boardW, int boardH,
                   float squareSize, HWND preview) {
    return showCvSwallowRest<int>(0, [&] {
        const cv::Size pattern(boardW, boardH);
        const StereoViews views = orFail(
            findStereoViews(filesOf(files), pattern, squareSize, previewInto(preview, pattern)));
        const StereoCalibration pair = calibrateStereo(views);
        MatrixWriter writer(hostFiles());
        // Each file by itself: those written before a failure stay.
        const auto write = [&](const CalibFile& file, const cv::Mat& matrix) {
            add(writer, folder, file, matrix);
            writer.commit();
        };
        for (std::size_t i = 0; i < pair.cameras.size(); ++i) {
            write(stereoCameraFiles[i].cameraMatrix, pair.cameras[i].cameraMatrix);
            write(stereoCameraFiles[i].distortion, pair.cameras[i].distortion);
            write(stereoCameraFiles[i].rotation, pair.cameras[i].rotation);
            write(stereoCameraFiles[i].projection, pair.cameras[i].projection);
        }
        write(reprojectionFile, pair.reprojection);
        return 1;
    });
}

CDib* tx_UseStereoCalib(CDib& image, const char* folder, int camera) {
    return showCvSwallowRest<CDib*>(nullptr, [&] {
        const StereoCameraFiles& files = stereoCameraFiles[camera == 1 ? 0 : 1];
        const auto m = needMatrices(
            folder, {files.cameraMatrix, files.distortion, files.rotation, files.projection});
        return orFail(
            resultToDib(rectify(DibToMat(image), m[0], m[1], m[2], m[3], bitmapMatrices())));
    });
}

tx_Meas3D::tx_Meas3D() = default;

tx_Meas3D::~tx_Meas3D() {
    delete m_q;
}

// Shallow on purpose; the matrix this object held is not released.
tx_Meas3D& tx_Meas3D::operator=(const tx_Meas3D& other) = default;

// On purpose: an earlier matrix is not released (a shallow copy may still use it), and neither a
// missing file nor an empty matrix is a failure. Every exception ends silently.
int tx_Meas3D::Init(const char* folder) {
    m_q = nullptr;
    return swallowAll<int>(0, [&] {
        const DecimalPoint point;
        auto q = std::make_unique<cv::Mat>();
        const HostPath path = pathIn(folder, reprojectionFile.name);
        *q = readMatrix(path.path, path.name, reprojectionFile.key);
        m_q = q.release();
        return 1;
    });
}

int tx_Meas3D::CalcXYZ(FPoint2D& p1, FPoint2D& p2, FPoint3D& out) {
    if (m_q == nullptr || !isReprojectionMatrix(*m_q)) {
        return 0;
    }
    const cv::Point3f point = reproject(*m_q, {p1.x, p1.y}, {p2.x, p2.y});
    out = {point.x, point.y, point.z};
    return 1;
}
