#include "bridge/file_list.h"

namespace tarvix {

FileList filesOf(const CStringArray& files) {
    return {static_cast<int>(files.GetSize()),
            [&files](int i) { return std::string(files.GetAt(i).GetString()); }};
}

} // namespace tarvix
