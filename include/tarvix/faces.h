// Faces: found in an image, followed in a camera's live image.
//
// Each operation reads one of OpenCV's cascade files on every call, from the folder of the host's
// executable, not the module's own. If it is missing or is not a cascade, OpenCV's message says so.
#pragma once

#include <afxtempl.h> // the class library comes before anything that includes windows.h

#include <MorvelDib.h>

#include <tarvix/tarvix_export.h>

// Finds frontal faces, by haarcascade_frontalface_alt.xml.
//   image  8 bits
//   faces  emptied first; its growth setting stays. Each face is a RECT in pixels of the image as
//          seen, right and bottom one pixel beyond it, in the order in which OpenCV reports them.
// Returns the number of faces, which is the array's new size. Returns 0, silently, if there is
// none.
// On failure: after OpenCV's message returns 0, even if the array holds faces that were found
// before the failure: a 24-bit bitmap, no cascade. Any other failure is silent and returns the
// array's size.
TARVIX_API int tx_FindFaces(CDib& image, CArray<RECT, RECT&>& faces);

// Shows the live image of camera 0 in a window "TrackFace" until a key is pressed in that window.
// The largest face of each frame, by lbpcascade_frontalface.xml, is outlined in white. The calling
// thread is busy until then; no other thread may call this meanwhile.
//   ignored  never read
// Returns 1 after a key. Returns 1 also, silently and without a window, if the camera cannot be
// opened.
// On failure: after a message returns 0: no display, no cascade, a camera that stops delivering,
// and on Linux a missing libTarvixLive.so.1, which the first call loads. Any other failure, such as
// a lack of memory that OpenCV does not report, is silent and returns 1.
TARVIX_API int tx_TrackFace(const char* ignored);
