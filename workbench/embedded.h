// The page's files, which the build puts into the program.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace workbench {

struct EmbeddedFile {
    std::string_view name; // "app.js"
    std::string_view bytes;
};

// All files of workbench/web/.
const std::vector<EmbeddedFile>& embeddedFiles();

// The type that a browser is told for a file of that name.
std::string contentTypeOf(const std::string& name);

} // namespace workbench
