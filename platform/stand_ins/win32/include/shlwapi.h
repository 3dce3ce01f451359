// Stand-in for the Windows header of this name: path strings, passed on byte by byte, separator
// '/'. Buffers hold MAX_PATH characters.
//
// Left out: the collapsing of "." and "..", drive letters, UNC names.
#pragma once

#include <windows.h>

// Cuts the last separator and what follows off, in place ("/file" leaves "/"). TRUE when anything
// was cut.
TARVIX_WIN32_API BOOL PathRemoveFileSpecA(LPSTR path);

// Appends more to path, in place, with one separator between; an absolute more replaces path. A
// result longer than MAX_PATH - 1 gives FALSE and an empty path.
TARVIX_WIN32_API BOOL PathAppendA(LPSTR path, LPCSTR more);

// Joins directory and file into destination (which may be directory itself) and returns
// destination. An absolute file, or a NULL or empty directory, gives file; a NULL or empty file
// gives directory. Both NULL, or a result longer than MAX_PATH - 1: NULL and an empty destination.
TARVIX_WIN32_API LPSTR PathCombineA(LPSTR destination, LPCSTR directory, LPCSTR file);

// TRUE when there is a file or directory of this name.
TARVIX_WIN32_API BOOL PathFileExistsA(LPCSTR path);
