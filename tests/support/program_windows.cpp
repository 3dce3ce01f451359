#include "tests/support/program.h"

#include "platform/system/windows_words.h"
#include "tests/support/files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <windows.h>

namespace test {

namespace {

constexpr DWORD kLimitMilliseconds = 900 * 1000;
constexpr int kTimedOut = 124;
constexpr int kCrashed = 128 + 11;

std::string slurp(const std::string& path) {
    std::ifstream file(path); // text: carriage returns are removed
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

class Handle {
public:
    explicit Handle(HANDLE handle) : m_handle(handle) {
        if (handle == nullptr || handle == INVALID_HANDLE_VALUE) {
            throw std::runtime_error("cannot set up the program's run");
        }
    }
    ~Handle() { CloseHandle(m_handle); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    operator HANDLE() const { return m_handle; }

private:
    HANDLE m_handle;
};

HANDLE openInherited(const std::string& path, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    return CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                       disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const Redirected& redirected) {
    const TempFolder folder;
    const std::string output = redirected.out.empty() ? folder / "out" : redirected.out;
    std::string path = program;
    std::replace(path.begin(), path.end(), '/', '\\');
    std::string line = tarvix::quotedForWindows(path);
    for (const std::string& argument : arguments) {
        line += ' ' + tarvix::quotedForWindows(argument);
    }
    ProgramResult result;
    {
        const Handle in(openInherited(redirected.in.empty() ? "NUL" : redirected.in, GENERIC_READ,
                                      OPEN_EXISTING));
        const Handle out(openInherited(output, GENERIC_WRITE, CREATE_ALWAYS));
        const Handle err(openInherited(folder / "err", GENERIC_WRITE, CREATE_ALWAYS));
        STARTUPINFOA start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdInput = in;
        start.hStdOutput = out;
        start.hStdError = err;
        PROCESS_INFORMATION started{};
        // Wine refuses about one start in some thousands. The start is not what is tested.
        for (int attempts = 3; !CreateProcessA(path.c_str(), line.data(), nullptr, nullptr, TRUE, 0,
                                               nullptr, nullptr, &start, &started);) {
            const DWORD error = GetLastError();
            if (--attempts == 0) {
                throw std::runtime_error("cannot start " + path + ": error " +
                                         std::to_string(error));
            }
            Sleep(1000);
        }
        const Handle process(started.hProcess);
        const Handle thread(started.hThread);
        if (WaitForSingleObject(process, kLimitMilliseconds) == WAIT_TIMEOUT) {
            TerminateProcess(process, kTimedOut);
            WaitForSingleObject(process, INFINITE);
        }
        DWORD code = 0;
        GetExitCodeProcess(process, &code);
        result.status = code >= 0x80000000U ? kCrashed : static_cast<int>(code);
    }
    if (redirected.out.empty()) {
        result.out = slurp(output);
    }
    result.err = slurp(folder / "err");
    return result;
}

std::string copyProgram(const std::string& program, const std::string& folder) {
    const std::filesystem::path original(program);
    for (const auto& entry : std::filesystem::directory_iterator(original.parent_path())) {
        if (entry.path().extension() == ".dll") {
            std::filesystem::copy_file(entry, folder / entry.path().filename());
        }
    }
    std::string copy = folder + '/' + original.filename().string();
    std::filesystem::copy_file(original, copy);
    return copy;
}

} // namespace test
