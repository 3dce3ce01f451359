#include "platform/system/paths.h"

#include <windows.h>

namespace tarvix {

std::filesystem::path pathOf(const std::string& name) {
    const int length = static_cast<int>(name.size());
    std::wstring wide(name.size(), L'\0'); // never more characters than bytes
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_ACP, 0, name.data(), length, wide.data(), length)));
    return wide;
}

std::string nameOf(const std::filesystem::path& path) {
    const std::wstring wide = path.wstring();
    const int length = static_cast<int>(wide.size());
    const int bytes =
        WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    std::string name(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_ACP, 0, wide.data(), length, name.data(), bytes, nullptr, nullptr);
    return name;
}

std::filesystem::path foldedPath(const std::filesystem::path& path) {
    std::wstring text = path.wstring();
    CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

} // namespace tarvix
