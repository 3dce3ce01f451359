// Keypoints, matches, registration of image sets, panoramas.
#pragma once

#include <afxwin.h> // the class library comes before anything that includes windows.h

#include <MorvelDib.h>
#include <afxcoll.h>

#include <tarvix/tarvix_export.h>

// Detects keypoints and draws each as a small circle of a random colour.
//   image     8 or 24 bits
//   detector  0 MSER, 1 ORB, 2 BRISK, 3 KAZE, 4 AKAZE
// Returns a new 24-bit bitmap of the image. An image without structure comes back with nothing
// drawn.
// On failure: returns null. OpenCV's message is shown for any other depth. Any other detector fails
// silently. An exception that is not cv::Exception propagates to the caller.
TARVIX_API CDib* tx_DetectorTest(CDib& image, int detector);

// Matches the keypoints of two images and draws them side by side, every keypoint of image1 joined
// to its nearest one of image2, unmatched ones drawn, too. Nearest is by Euclidean distance
// although the descriptors are binary, and no match is filtered out, both on purpose.
//   image1, image2  8 or 24 bits; image1 is drawn on the left
//   detector        as tx_DetectorTest
//   descriptor      0 ORB, 1 BRISK
// Returns a new 24-bit bitmap.
// On failure: returns null. OpenCV's message is shown for its exceptions. Any other depth and an
// unknown selector fail silently.
TARVIX_API CDib* tx_MatchTest(CDib& image1, CDib& image2, int detector, int descriptor);

// Registers image files of one scene onto the first of them and writes one file for each. All have
// the size of a canvas that holds the first image and the outlines of the others: outputFiles[0] is
// the first image at its place, outputFiles[k] the k-th image warped into place, black around.
//   inputFiles   at least one, read in colour
//   outputFiles  one name for the reference plus one for each image that registers. With any other
//                number nothing is written. The extension chooses the format.
// An image with fewer than 8 good matches is left out, silently. The images after it are then
// written with the homography and the name of the one before, and the call ends with the class
// library's invalid-argument exception: so leave such an image out of inputFiles. Perspective moves
// with the canvas only approximately. An image is cut to its own width and height from the canvas's
// top left corner.
// Returns 1, on success, on a wrong number of names and after OpenCV's message alike, on purpose:
// the files that were written tell.
// On failure: files written before stay. OpenCV's message is shown for its exceptions: a file that
// cannot be read, a first image with fewer than two descriptors, an image wider or higher than the
// canvas. The class library's invalid-argument exception (CInvalidArgException*) for an empty
// inputFiles and as above, and everything else that is not cv::Exception, propagate to the caller.
TARVIX_API int tx_MatchImages(CStringArray& inputFiles, CStringArray& outputFiles);

// Joins overlapping photographs, taken from one place by a turning camera, into a panorama.
//   files  at least two
// Returns a new 24-bit bitmap.
// On failure: returns null. Fails silently if a file cannot be read or the photographs cannot be
// joined. OpenCV's message is shown for its exceptions; every other exception propagates to the
// caller.
TARVIX_API CDib* tx_Stitch(CStringArray& files);
