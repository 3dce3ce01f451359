// The convergence search as it is defined: six nested scans that call the error functions for every
// candidate, each of which builds its matrices afresh. Slow and obvious; the library's search must
// give the same bits.
#pragma once

#include "geometry/converge.h"

namespace tarvix::test {

double literalRightAngleError(const MarkedQuad& quad, double pitch, double yaw, double roll,
                              double focal);
double literalAxisAlignmentError(const MarkedQuad& quad, double pitch, double yaw, double roll,
                                 double focal);

// focalMm == 0.0: unknown, searched. evaluations, if given, receives the number of error
// evaluations.
Pose literalScan(const MarkedQuad& quad, double focalMm, long* evaluations = nullptr);

} // namespace tarvix::test
