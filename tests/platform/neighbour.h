// Another module of the same process, as Tarvix is to a host.
#pragma once

#include <MorvelDib.h>
#include <afxcoll.h>
#include <afxtempl.h>

namespace neighbour {

NEIGHBOUR_API CDib* newGrayDib(int width, int height);
NEIGHBOUR_API void deleteDib(CDib* dib);
NEIGHBOUR_API void appendRect(CArray<RECT, RECT&>& rects, RECT rect);
NEIGHBOUR_API RECT& rectAt(CArray<RECT, RECT&>& rects, int index);
NEIGHBOUR_API const CString& stringAt(const CStringArray& strings, int index);

// How a catch clause of this module catches what the function throws: 1 as CInvalidArgException*,
// 2 as CException*, 3 as anything else, 0 if nothing is thrown.
NEIGHBOUR_API int caughtAs(void (*thrower)());

} // namespace neighbour
