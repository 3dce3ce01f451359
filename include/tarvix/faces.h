// Faces: found in a picture, followed in a camera's live picture.
//
// Each operation reads a cascade file of OpenCV's on every call, from the folder of the host's
// executable, not the module's own. When it is missing or no cascade, OpenCV's message says so.
#pragma once

#include <MorvelDib.h>
#include <afxtempl.h>

#include <tarvix/tarvix_export.h>

// Finds frontal faces in an 8-bit bitmap, by haarcascade_frontalface_alt.xml, and puts them into
// `faces`, whose earlier contents go and whose growth setting stays. Each is a RECT in pixels of
// the picture as seen, right and bottom one pixel beyond the face, in the order in which OpenCV
// reports them. Returns their number, which is the array's new size; 0, silently, when there is
// none.
//
// Only 8-bit bitmaps can be searched: OpenCV's message is shown for 24 bits, and 0 returned. After
// any message the result is 0, even when the array holds faces that were found before the failure;
// after any other failure, which is silent, it is the array's size.
TARVIX_API int tx_FindFaces(CDib& image, CArray<RECT, RECT&>& faces);

// Shows the live picture of camera 0 in a window "TrackFace", the largest face of each frame, by
// lbpcascade_frontalface.xml, outlined in white, until a key is pressed in that window. The calling
// thread is busy until then; no other may call this meanwhile. The argument is never read.
//
// Returns 1 when a key ended it and also, silently and without a window, when the camera cannot be
// opened; 0 after OpenCV's message: no display, no cascade, a camera that stops delivering. Any
// other failure, such as a lack of memory that OpenCV does not report, is silent and gives 1.
TARVIX_API int tx_TrackFace(const char* ignored);
