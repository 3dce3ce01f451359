// What the tests' variant of the library is told and asked. In the library that is installed,
// nothing.
#pragma once

namespace morvel_dib {

#if defined(MORVEL_DIB_OBSERVED)
void constructed(); // throws std::bad_alloc if that is due
void destroyed();
void pixelsMade();
void pixelsFreed();
bool createFails();
void changeFormat(int& width, int& height, int& bitCount); // if that is due
#else
inline void constructed() {}
inline void destroyed() {}
inline void pixelsMade() {}
inline void pixelsFreed() {}
inline bool createFails() {
    return false;
}
inline void changeFormat(int& /*width*/, int& /*height*/, int& /*bitCount*/) {}
#endif

} // namespace morvel_dib
