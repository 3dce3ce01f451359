#include "platform/system/kept_lines.h"
#include "platform/system/stray_lines.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <system_error>

namespace tarvix {

namespace {

constexpr int errorHandle = 2;

int errors = -1; // standard error itself
int kept = -1;   // the file that stands in for it
long taken = 0;

void writeToErrors(const char* text, std::size_t size) {
    _write(errors, text, static_cast<unsigned>(size));
}

// A file that is removed when it is closed.
int temporaryFile() {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    const std::wstring name = L"tarvix-" + std::to_wstring(GetCurrentProcessId()) + L".txt";
    return error ? -1
                 : _wopen((folder / name).c_str(),
                          _O_RDWR | _O_CREAT | _O_TRUNC | _O_TEMPORARY | _O_BINARY | _O_NOINHERIT,
                          _S_IREAD | _S_IWRITE);
}

} // namespace

StrayLines::StrayLines() {
    errors = _dup(errorHandle);
    kept = errors < 0 ? -1 : temporaryFile();
    if (kept < 0 || _dup2(kept, errorHandle) < 0) {
        kept = -1;
        return;
    }
    taken = 0;
}

StrayLines::~StrayLines() {
    if (kept < 0) {
        return;
    }
    _dup2(errors, errorHandle);
    _close(errors);
    _close(kept);
    kept = -1;
}

std::ostream& standardError() {
    static UnbufferedStream buffer(writeToErrors);
    static std::ostream stream(&buffer);
    return kept < 0 ? std::cerr : stream;
}

std::vector<std::string> takeStrayLines() {
    std::string text;
    if (kept >= 0) {
        std::fflush(stderr);
        char part[512];
        _lseek(kept, taken, SEEK_SET); // the place is common to the file and to standard error
        for (int count = 0; (count = _read(kept, part, sizeof part)) > 0; taken += count) {
            text.append(part, static_cast<std::size_t>(count));
        }
        // What another thread prints at this moment is lost.
        if (taken > longestKept && _chsize(kept, 0) == 0) {
            taken = 0;
        }
        _lseek(kept, 0, SEEK_END);
    }
    return differentLines(text);
}

} // namespace tarvix
