// The calibration file set: small XML files of OpenCV's persistence format in one folder, each with
// one matrix of doubles under one top-level key. The folder is the only link between calibration
// and its use; docs/calibration.md has the table of the files.
//
// Failures are raised as cv::Exception in OpenCV's own words.
#pragma once

#include <opencv2/core/mat.hpp>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

namespace tarvix {

struct CalibFile {
    const char* name; // in the folder
    const char* key;  // the document's top-level key
};

// The single camera.
inline constexpr CalibFile cameraFile{"cam.xml", "CameraMatrix"}; // 3 x 3
inline constexpr CalibFile distortionFile{"dist.xml", "DistCoeffs"};

// One camera of the stereo set, in the order in which it is read.
struct StereoCameraFiles {
    CalibFile cameraMatrix, distortion, rotation, projection;
};
// On purpose: the keys of the camera matrices are MM1 and MM2 although the files are M1 and M2.
inline constexpr std::array<StereoCameraFiles, 2> stereoCameraFiles{{
    {{"M1.xml", "MM1"}, {"D1.xml", "D1"}, {"R1.xml", "R1"}, {"P1.xml", "P1"}},
    {{"M2.xml", "MM2"}, {"D2.xml", "D2"}, {"R2.xml", "R2"}, {"P2.xml", "P2"}},
}};
inline constexpr CalibFile reprojectionFile{"Q.xml", "Q"}; // 4 x 4

// The file's path in the folder; empty when it does not fit MAX_PATH characters.
std::string pathIn(const char* folder, const CalibFile& file);

// Reads the file's matrix. Empty when there is no such file or the document lacks the key. Raises
// what is no regular file, cannot be read, is larger than any calibration file, or is no sound
// document with a plain two-dimensional matrix; the numbers' type and the shape are the caller's
// to judge. Never reads memory that is not its own, whatever the file holds.
cv::Mat readMatrix(const std::string& path, const char* key);

// The same for a document already in memory; `path` only names it in messages.
cv::Mat parseMatrix(const std::string& document, const std::string& path, const char* key);

// As readMatrix, for an operation that cannot go on without the file: ends it silently
// (failSilently) when there is none.
cv::Mat needMatrix(const char* folder, const CalibFile& file);

// Raises for an empty matrix, as OpenCV does with an empty camera matrix. Other empty matrices it
// would take as "none", and a damaged file would go unnoticed.
void refuseEmpty(const cv::Mat& matrix, const CalibFile& file);

// Writes matrices, each into a file of its own, existing files replaced.
//
// Each document is written beside its target; they take their places in commit(), in the order of
// add(), once all of them are whole. When one cannot, those before it become what they were, so a
// failure leaves the earlier files. In a folder that takes no new files, an existing file is
// written in place. Symbolic links are followed. Raises when a file cannot be written.
class MatrixWriter {
public:
    MatrixWriter() = default;
    ~MatrixWriter();
    MatrixWriter(const MatrixWriter&) = delete;
    MatrixWriter& operator=(const MatrixWriter&) = delete;

    void add(const char* folder, const CalibFile& file, const cv::Mat& matrix);
    void commit();

private:
    struct Pending {
        std::string name; // for messages
        std::filesystem::path target, beside;
        std::string document;
        std::string earlier; // the target's bytes
        bool existed = false;
        bool isBeside = false; // written there; false: to be written in place
        bool isPlaced = false;
    };
    static void restore(const Pending& one);

    std::vector<Pending> m_pending;
};

} // namespace tarvix
