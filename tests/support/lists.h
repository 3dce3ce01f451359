// Lists of names as exports take them.
#pragma once

#include <string>
#include <vector>

#include <afxwin.h>

#include <afxcoll.h> // after afxwin.h

namespace test {

// Replaces what the list holds.
inline void fill(CStringArray& list, const std::vector<std::string>& names) {
    list.RemoveAll();
    for (const std::string& name : names) {
        list.Add(name.c_str());
    }
}

} // namespace test
