#include "platform/system/browser.h"

#include <cstdint>

#include <windows.h>

#include <shellapi.h>

namespace tarvix {

bool openInBrowser(const std::filesystem::path& file) {
    const HINSTANCE opened =
        ShellExecuteW(nullptr, L"open", file.wstring().c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    return reinterpret_cast<std::intptr_t>(opened) > 32; // as the call documents success
}

} // namespace tarvix
