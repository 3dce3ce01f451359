#include "workbench/shown_names.h"

#include "host/failure.h"
#include "host/saving.h"
#include "platform/system/paths.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace workbench {

std::string withShownNames(std::string text, const ShownNames& names) {
    ShownNames sorted = names;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
    for (const auto& [path, name] : sorted) {
        for (std::size_t at = text.find(path); !path.empty() && at != std::string::npos;
             at = text.find(path, at + name.size())) {
            text.replace(at, path.size(), name);
        }
    }
    return text;
}

void showNames(nlohmann::ordered_json& data, const ShownNames& names) {
    if (data.is_string()) {
        data = withShownNames(data.get<std::string>(), names);
    } else if (data.is_structured()) {
        for (auto& element : data) {
            showNames(element, names);
        }
    }
}

void showNamesIn(const std::string& path, const ShownNames& names) {
    std::ifstream file(tarvix::pathOf(path), std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    if (!file) {
        return;
    }
    file.close();
    try {
        host::saveText(withShownNames(text, names), path);
    } catch (const host::Failure&) {
        return; // the page is whole all the same
    }
}

} // namespace workbench
