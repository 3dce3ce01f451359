#include "workbench/embedded.h"
#include "workbench/lower_case.h"

#include <algorithm>
#include <map>

namespace workbench {

std::string contentTypeOf(const std::string& name) {
    static const std::map<std::string, std::string> types = {
        {".html", "text/html; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".svg", "image/svg+xml"},
        {".png", "image/png"},
        {".jpg", "image/jpeg"},
        {".jpeg", "image/jpeg"},
        {".webp", "image/webp"},
        {".bmp", "image/bmp"},
        {".json", "application/json"},
        {".txt", "text/plain; charset=utf-8"},
        {".yml", "text/plain; charset=utf-8"},
        {".yaml", "text/plain; charset=utf-8"}};
    const auto found = types.find(lowerCase(name.substr(std::min(name.rfind('.'), name.size()))));
    return found == types.end() ? "application/octet-stream" : found->second;
}

} // namespace workbench
