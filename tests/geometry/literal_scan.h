// The convergence correction as it is defined: errors and corrected corners one step after the
// other, and a search of six nested scans that call the error functions for every candidate, each
// of which builds its matrices afresh. Slow and obvious; the library must give the same bits. Of
// the library, only the rounded sine, cosine and arc cosine are used.
#pragma once

#include "geometry/converge.h"

namespace tarvix::test {

double literalRightAngleError(const MarkedQuad& quad, const Pose& pose);
double literalAxisAlignmentError(const MarkedQuad& quad, const Pose& pose);
Corners literalCorrection(const MarkedQuad& quad, const Pose& pose,
                          const CorrectionOptions& options);

// The angle from (ax, ay) to (bx, by), radians.
double literalAngle(double ax, double ay, double bx, double by);

// focalMm == 0.0: unknown, searched. evaluations, if given, receives the number of error
// evaluations.
Pose literalScan(const MarkedQuad& quad, double focalMm, long* evaluations = nullptr);

} // namespace tarvix::test
