// The host's lists of files as operations take them.
#pragma once

#include <afxcoll.h>

#include <common/file_list.h>

namespace tarvix {

// Views `files`, which must outlive the result. `at` is the class library's bounds-checked
// accessor: it throws CInvalidArgException* for a position out of range.
FileList filesOf(const CStringArray& files);

} // namespace tarvix
