#include "workbench/http.h"

#include <nlohmann/json.hpp>

namespace workbench {

std::vector<std::string> HttpRequest::all(const std::string& name) const {
    std::vector<std::string> values;
    for (const auto& [key, value] : fields) {
        if (key == name) {
            values.push_back(value);
        }
    }
    return values;
}

std::optional<std::string> HttpRequest::one(const std::string& name) const {
    const std::vector<std::string> values = all(name);
    return values.size() == 1 ? std::optional(values.front()) : std::nullopt;
}

HttpResponse refused(int status, const std::string& sentence) {
    const nlohmann::json json = {{"error", sentence}};
    return {.status = status,
            .body = json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)};
}

} // namespace workbench
