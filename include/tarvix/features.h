// Keypoints, matches, registration of picture sets, panoramas.
#pragma once

#include <MorvelDib.h>
#include <afxcoll.h>

#include <tarvix/tarvix_export.h>

// Detects keypoints and returns a new 24-bit bitmap of the picture with each drawn as a small
// circle of a random colour. A picture without structure comes back with nothing drawn.
//   image     8 or 24 bits; OpenCV's message is shown for any other depth
//   detector  0 MSER, 1 ORB, 2 BRISK, 3 KAZE, 4 AKAZE; anything else gives null silently
// An exception that is not cv::Exception passes out.
TARVIX_API CDib* tx_DetectorTest(CDib& image, int detector);

// Matches the keypoints of two pictures and returns a new 24-bit bitmap: image1 left, image2 right,
// every keypoint of image1 joined to its nearest one of image2, unmatched ones drawn too.
//   image1, image2  8 or 24 bits; any other depth gives null silently
//   detector        as tx_DetectorTest
//   descriptor      0 ORB, 1 BRISK; an unknown selector of either kind gives null silently
// Nearest is by Euclidean distance although the descriptors are binary, and no match is filtered
// out, both on purpose.
TARVIX_API CDib* tx_MatchTest(CDib& image1, CDib& image2, int detector, int descriptor);

// Registers picture files of one scene onto the first of them and writes one file for each, all of
// the size of a canvas that holds the first picture and the outlines of the others: outputFiles[0]
// the first picture at its place, outputFiles[k] the k-th picture warped into place, black around.
//   inputFiles   at least one, read in colour
//   outputFiles  one more than pictures pass the registration, as many as inputFiles when all do;
//                the extension chooses the format. With any other number nothing is written.
// Returns 1 on success, on a wrong number of names and after OpenCV's message alike, on purpose:
// the files that were written tell. Those written before a failure stay. OpenCV's message is shown,
// and nothing written, if a further file cannot be read or the first picture gives fewer than two
// descriptors (a flat or unreadable one). A picture with fewer than
// 8 good matches is left out, silently; the pictures after it are then written with the homography
// and the name of the one before, and the call ends with the class library's invalid-argument
// exception. So leave such a picture out of inputFiles. Known bounds: perspective moves with the
// canvas only approximately, and a picture is cut to its own width and height from the canvas's top
// left corner; one that is wider or higher than the canvas ends the call there with OpenCV's
// message. Passes out: the class library's invalid-argument exception (CInvalidArgException*)
// for an empty inputFiles and as above, and everything else that is not cv::Exception.
TARVIX_API int tx_MatchImages(CStringArray& inputFiles, CStringArray& outputFiles);

// Joins overlapping photographs, taken from one place by a turning camera, into a panorama: a new
// 24-bit bitmap. Two files at least.
// Null silently when a file cannot be read or the photographs cannot be joined; OpenCV's message is
// shown for its exceptions, every other one passes out.
TARVIX_API CDib* tx_Stitch(CStringArray& files);
