// Stand-in for the Windows header of this name: path strings, passed on byte by byte, separator
// '/'. Buffers hold MAX_PATH characters.
//
// Omitted: the collapsing of "." and "..", drive letters, UNC names.
#pragma once

#include <windows.h>

// Cuts off the last separator and what follows, in place ("/file" becomes "/"). Returns TRUE if
// anything was cut.
TARVIX_WIN32_API BOOL PathRemoveFileSpecA(LPSTR path);

// Appends more to path, in place, with one separator between. If more is absolute, it replaces
// path. Returns FALSE and an empty path if the result is longer than MAX_PATH - 1.
TARVIX_WIN32_API BOOL PathAppendA(LPSTR path, LPCSTR more);

// Joins directory and file into destination, which may be directory, and returns it. An absolute
// file or a NULL or empty directory gives file, a NULL or empty file gives directory. Returns NULL
// and an empty destination if both are NULL or the result is longer than MAX_PATH - 1.
TARVIX_WIN32_API LPSTR PathCombineA(LPSTR destination, LPCSTR directory, LPCSTR file);

// Returns TRUE if there is a file or directory of this name.
TARVIX_WIN32_API BOOL PathFileExistsA(LPCSTR path);
