// Calibration of one camera and of a stereo pair, its use, and measurement in space.
//
// The operations are linked only by the calibration folder, whose files docs/calibration.md lists.
// `folder` is a path as the host gives it; it must exist and is not created. Paths in it are at
// most MAX_PATH - 1 characters long. What a host or a damaged disk leaves in the folder never
// harms the process: files that are malformed, huge, or of another type or shape fail as each
// export says.
//
// A chessboard is given by its inner corners: boardW in each row, boardH in each column.
#pragma once

#include <MorvelDib.h>
#include <afxwin.h>

#include <afxcoll.h> // after afxwin.h

#include <tarvix/tarvix_export.h>

namespace cv {
class Mat;
}

// Calibrates one camera from photographs of a chessboard, all of one size, and writes "cam.xml" and
// "dist.xml" into the folder, existing files replaced. The board must be seen in every file.
//   preview  a window in which each view is drawn at the top left, its corners marked, shrunk to
//            fit but never enlarged; NULL for none. A window that is closed meanwhile is no
//            failure.
// Returns 1 when both files were written. 0 silently when a board is not found; 0 after OpenCV's
// message for a file that cannot be read, too few views, or a folder that cannot be written (the
// earlier files stay whole then).
TARVIX_API int tx_Calib(CStringArray& files, const char* folder, int boardW, int boardH,
                        HWND preview);

// Removes lens distortion with the calibration that tx_Calib left in the folder: a new bitmap of
// the picture's size and depth, bicubic, black where the picture does not reach. `image` is to be
// of the size of the photographs that calibrated.
//   outA, outB  unless one of them is null: with W and H the picture's size, outA gets the y and
//               outB the x of the source position that element (W/2) * W + H/2 of the map, row by
//               row, was taken from: row W/2, column H/2. Both get a quiet NaN when the map is
//               shorter than that. Left alone on failure.
// Null silently when a file is missing; null after OpenCV's message for a file without a usable
// matrix and for a bitmap that is not 8 or 24 bits.
TARVIX_API CDib* tx_UseCalib(CDib& image, const char* folder, float* outA, float* outB);

// Calibrates a stereo pair from photographs that both cameras took at the same time, rectifies it,
// and writes the nine files "M1.xml" ... "Q.xml". The two pictures of a pair are searched on two
// OpenMP threads.
//   files       the even positions are camera 1 (left), the odd ones camera 2 (right); an even
//               number, all pictures of one size
//   squareSize  edge of a square, in the unit wanted for tx_Meas3D
//   preview     as in tx_Calib, for the left pictures
// The cameras' intrinsics are not estimated: OpenCV is told to hold them fixed and is given none,
// and takes the unit camera matrix without distortion. docs/calibration.md says what follows.
// Returns 1 when all nine files were written. 0 silently when a board is not found in one of the
// pictures or their number is odd; 0 after OpenCV's message otherwise. Files written before a
// failure stay.
TARVIX_API int tx_StereoCalib(CStringArray& files, const char* folder, int boardW, int boardH,
                              float squareSize, HWND preview);

// Warps a picture of one camera of the pair into the rectified frame, in which corresponding points
// lie in the same row: a new bitmap of the picture's size and depth, black outside.
//   camera  1 for camera 1, anything else for camera 2
// Failures as tx_UseCalib.
TARVIX_API CDib* tx_UseStereoCalib(CDib& image, const char* folder, int camera);

// Pixels of a rectified picture.
struct FPoint2D {
    float x, y; // x right, y down
};

// The frame of the rectified camera 1, in the unit of tx_StereoCalib's squareSize.
struct FPoint3D {
    float x, y, z; // x right, y down, z away from the camera
};

// Points in space from pairs of points in rectified pictures.
class TARVIX_API tx_Meas3D {
public:
    tx_Meas3D();
    ~tx_Meas3D();

    // Shallow on purpose: both objects then own the same matrix and would both free it.
    tx_Meas3D& operator=(const tx_Meas3D& other);
    tx_Meas3D(const tx_Meas3D& other) = default; // shallow, too

    // Loads "Q.xml" from the folder. A matrix from an earlier call is not released first. 1 on
    // success, and also when there is no such file or no matrix in it under its key: then CalcXYZ
    // gives 0. 0 silently for a file that cannot be read as such a document; nothing is held then.
    int Init(const char* folder);

    // The point seen at p1 and p2, one in each rectified picture, in either order (the one with the
    // smaller x is the reference, p1 on a tie). Returns 1, with infinite coordinates for a point
    // at infinity; 0, `out` left alone, when no 4 x 4 matrix of doubles is held.
    int CalcXYZ(FPoint2D& p1, FPoint2D& p2, FPoint3D& out);

private:
    cv::Mat* m_q = nullptr; // owned; null until Init succeeds
};
