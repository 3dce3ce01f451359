// The functions of the library TarvixLive, by the names under which late.cpp looks them up.
#include "faces/live/live.h"

extern "C" __attribute__((visibility("default"))) int tarvixTrackFace() {
    return tarvix::trackFace();
}

extern "C" __attribute__((visibility("default"))) int tarvixHasCamera() {
    return tarvix::hasCamera() ? 1 : 0;
}
