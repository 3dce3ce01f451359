// Paths of the machine in what workers say, as the names that the page knows.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace workbench {

using ShownNames = std::vector<std::pair<std::string, std::string>>; // path, name

// The text with each path replaced by its name, longer paths first.
std::string withShownNames(std::string text, const ShownNames& names);

// The same for all texts in the data.
void showNames(nlohmann::ordered_json& data, const ShownNames& names);

// The same for a text file. It stays as it is if it cannot be read or written.
void showNamesIn(const std::string& path, const ShownNames& names);

} // namespace workbench
