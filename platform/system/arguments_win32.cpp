#include "platform/system/arguments.h"

#include "platform/system/paths.h"

#include <windows.h>

#include <shellapi.h>

#include <memory>
#include <string_view>

namespace tarvix {

namespace {

bool fitsCodePage(std::wstring_view word) {
    if (word.empty()) {
        return true;
    }
    // For UTF-8, the function reports what it cannot convert in another way.
    const bool utf8 = GetACP() == CP_UTF8;
    BOOL replaced = FALSE;
    const int size = WideCharToMultiByte(CP_ACP, utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS,
                                         word.data(), static_cast<int>(word.size()), nullptr, 0,
                                         nullptr, utf8 ? nullptr : &replaced);
    return size > 0 && replaced == FALSE;
}

} // namespace

std::optional<std::string> damagedArgument() {
    int count = 0;
    const std::unique_ptr<LPWSTR[], decltype(&LocalFree)> words(
        CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
    for (int i = 1; words != nullptr && i < count; ++i) {
        const LPWSTR word = words[static_cast<std::size_t>(i)];
        if (!fitsCodePage(word)) {
            return nameOf(std::filesystem::path(word));
        }
    }
    return std::nullopt;
}

} // namespace tarvix
