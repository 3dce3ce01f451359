// Another module of the same process, as a host's library is to Tarvix.
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

// What a catch clause in there makes of an invalid-argument exception thrown by the function: 1 for
// CInvalidArgException*, 2 for CException*, 3 for anything else, 0 for none.
NEIGHBOUR_API int caughtAs(void (*thrower)());

} // namespace neighbour
