// Calibration of one camera and of a stereo pair, its use, and measurement in space.
//
// The operations communicate only through files in the calibration folder, which
// docs/calibration.md lists. `folder` is a path as the host gives it; it must exist and is not
// created. Paths in it have at most MAX_PATH - 1 characters. What a host or a damaged disk leaves
// in the folder never harms the process: files that are malformed, huge, or of another type or
// shape fail as each export says. docs/calibration.md also says what holds after a kill or a power
// failure, and that calibrations lock the folder for a moment.
//
// A chessboard is given by its inner corners: boardW in each row, boardH in each column.
#pragma once

#include <afxwin.h> // the class library comes before anything that includes windows.h

#include <MorvelDib.h>
#include <afxcoll.h>

#include <tarvix/tarvix_export.h>

namespace cv {
class Mat;
}

// Calibrates one camera and writes "cam.xml" and "dist.xml" into the folder. Existing files are
// replaced.
//   files    photographs of a chessboard, all of one size; the board must be seen in every one
//   preview  a window in which each view is drawn at the top left, its corners marked, shrunk to
//            fit but never enlarged; NULL for none. A window that is closed meanwhile is not a
//            failure.
// Returns 1 if both files were written.
// On failure: returns 0 and leaves the earlier files whole. Fails silently if a board is not found.
// OpenCV's message is shown for a file that cannot be read, too few views, or a folder that cannot
// be written.
TARVIX_API int tx_Calib(CStringArray& files, const char* folder, int boardW, int boardH,
                        HWND preview);

// Removes lens distortion with the calibration that tx_Calib left in the folder.
//   image       8 or 24 bits, of the same size as the calibration photographs
//   outA, outB  null, or receive a sample of the map. With W and H the image's size, outA gets the
//               y and outB the x of the source position of element (W/2) * W + H/2 of the map, row
//               by row: row W/2, column H/2. Both get a quiet NaN if the map is shorter than that.
//               If one of them is null, neither is written.
// Returns a new bitmap of the image's size and depth: bicubic, black where the image does not
// reach.
// On failure: returns null and leaves outA and outB. Fails silently if a file is missing. OpenCV's
// message is shown for a file without a usable matrix and for any other depth.
TARVIX_API CDib* tx_UseCalib(CDib& image, const char* folder, float* outA, float* outB);

// Calibrates a stereo pair, rectifies it, and writes the nine files "M1.xml" ... "Q.xml". The two
// images of a pair are searched on two OpenMP threads.
//
// The cameras' intrinsics are not estimated: OpenCV is told to hold them fixed and is given none,
// and takes the unit camera matrix without distortion. docs/calibration.md says what follows.
//   files       photographs that both cameras took at the same time, all of one size: the even
//               positions are camera 1 (left), the odd ones camera 2 (right); an even number
//   squareSize  edge of a square, in the unit wanted for tx_Meas3D
//   preview     as in tx_Calib, for the left images
// Returns 1 if all nine files were written.
// On failure: returns 0. Files written before stay. Fails silently if a board is not found in one
// of the images or their number is odd. OpenCV's message is shown otherwise.
TARVIX_API int tx_StereoCalib(CStringArray& files, const char* folder, int boardW, int boardH,
                              float squareSize, HWND preview);

// Warps an image of one camera of the pair into the rectified frame, in which corresponding points
// are in the same row.
//   image   8 or 24 bits
//   camera  1 for camera 1, anything else for camera 2
// Returns a new bitmap of the image's size and depth, black outside.
// On failure: as tx_UseCalib.
TARVIX_API CDib* tx_UseStereoCalib(CDib& image, const char* folder, int camera);

// Pixels of a rectified image.
struct FPoint2D {
    float x, y; // x right, y down
};

// The frame of the rectified camera 1, in the unit of tx_StereoCalib's squareSize.
struct FPoint3D {
    float x, y, z; // x right, y down, z away from the camera
};

// Points in space from pairs of points in rectified images.
class TARVIX_API tx_Meas3D {
public:
    tx_Meas3D();
    ~tx_Meas3D();

    // Shallow on purpose: both objects then own the same matrix and would both free it.
    tx_Meas3D& operator=(const tx_Meas3D& other);
    tx_Meas3D(const tx_Meas3D& other) = default; // shallow, too

    // Loads "Q.xml" from the folder. A matrix from an earlier call is not released first.
    // Returns 1; also if there is no such file or no matrix in it under its key: then CalcXYZ
    // returns 0.
    // On failure: returns 0, silently, for a file that cannot be read as such a document. Nothing
    // is held then.
    int Init(const char* folder);

    // Computes the point seen at p1 and p2, one in each rectified image, in either order: the one
    // with the smaller x is the reference, p1 on a tie.
    // Returns 1, with infinite coordinates for a point at infinity.
    // On failure: returns 0 and leaves `out` if no 4 x 4 matrix of doubles is held.
    int CalcXYZ(FPoint2D& p1, FPoint2D& p2, FPoint3D& out);

private:
    cv::Mat* m_q = nullptr; // owned; null until Init succeeds
};
