// Tarvix: computer-vision operations for applications that display and process images.
// docs/using.md says how a host links and loads it, docs/conventions.md has axes and signs.
//
// Rules that hold for every export, said once:
//
// Threads    A call runs to its end on the calling thread. Exports share no state: several threads
//            may call at the same time, on bitmaps of their own or on one that nobody writes to.
//            Two calls of tx_TrackFace, which have one window, and two calibrations into one folder
//            must not run at once.
// Inputs     Bitmaps are only read. An 8-bit bitmap's palette indices count as grey levels; the
//            pixels of a 24-bit bitmap are blue, green, red. Rows are taken as stored bottom-up,
//            whatever the sign of the height. Coordinates are pixels of the image as seen: x
//            right, y down, origin at the top-left pixel.
// Results    A returned CDib* is new and belongs to the caller, who deletes it; null means failure.
//            Exports that return an int return a count, or 1 for success and 0 for failure.
// Failures   Unless the export says otherwise: an expected failure (empty input, nothing found,
//            a missing file) returns null or 0 silently; a cv::Exception is shown in a modal
//            message box and the export returns null or 0. Some exports let exceptions propagate
//            to the caller and say so.
#pragma once

#include <tarvix/calib.h>
#include <tarvix/faces.h>
#include <tarvix/features.h>
#include <tarvix/filters.h>
#include <tarvix/geometry.h>
