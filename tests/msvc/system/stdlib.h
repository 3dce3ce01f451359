// What Microsoft's C library has, and libc++ expects of it, and MinGW does not declare.
#pragma once

#include_next <stdlib.h>

extern "C" {
float __cdecl _strtof_l(const char*, char**, _locale_t);
long double __cdecl _strtold_l(const char*, char**, _locale_t);
}

#ifdef __cplusplus
extern "C++" {
inline long abs(long value) {
    return labs(value);
}
inline long long abs(long long value) {
    return llabs(value);
}
}
#endif
