// MinGW's header without what it assumes of compilers of this dialect: clang-cl knows
// __attribute__, and takes __declspec before a declaration only.
#pragma once

#include_next <_mingw.h>

#undef __attribute__
#undef __MINGW_ATTRIB_NORETURN
#define __MINGW_ATTRIB_NORETURN
#undef __MINGW_ATTRIB_MALLOC
#define __MINGW_ATTRIB_MALLOC
#undef __MINGW_ATTRIB_DEPRECATED
#define __MINGW_ATTRIB_DEPRECATED
#undef __MINGW_ATTRIB_DEPRECATED_MSG
#define __MINGW_ATTRIB_DEPRECATED_MSG(text)
#undef __MINGW_NOTHROW
#define __MINGW_NOTHROW
