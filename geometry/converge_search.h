// The search for the pose that straightens a marked quadrilateral.
#pragma once

#include "converge.h"

namespace tarvix {

// Scans pitch, yaw and (if unknown) focal length for the smallest RightAngleError, then roll for
// the smallest AxisAlignmentError, three times with finer steps:
//
//     stage 1, 2   pitch, yaw, roll -60 ... 60 step 5, focal 1 ... 51 mm step 5
//     stage 3, 4   +-5 about the values so far, step 0.5
//     stage 5, 6   +-0.5, step 0.05f
//
// focalMm == 0.0 means unknown. Of equal errors the first in scan order (pitch, yaw, focal) wins;
// an error that is not a number never wins, so what cannot be measured keeps the values so far (0,
// or the caller's focal length). Three consequences are on purpose.
//
// The step 0.05f is a little more than 0.05: the last stages take 20 values from -0.5 on, and miss
// 0 by 7.45e-9.
//
// The fine ranges are not clamped: zero and negative focal lengths are tried.
//
// A rectangle seen face-on with unknown focal length has the error 0 everywhere, so the first
// candidates win: focal 1, then -4, then -4.5.
//
// The result is that of the plain scan to the last bit (tests/geometry/literal_scan.h), for any
// input.
Pose findPose(const MarkedQuad& quad, double focalMm);

} // namespace tarvix
