#include "platform/system/child_process.h"

#include "platform/system/paths.h"
#include "platform/system/windows_words.h"

#include <windows.h>
// after windows.h
#include <psapi.h>

#include <fcntl.h>
#include <io.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace tarvix {

namespace {

// A handle of the system, closed at the end.
class Handle {
public:
    Handle() = default;
    explicit Handle(HANDLE handle) : m_handle(handle) {}
    Handle(Handle&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() {
        if (m_handle != nullptr && m_handle != INVALID_HANDLE_VALUE) {
            CloseHandle(m_handle);
        }
    }
    [[nodiscard]] HANDLE get() const { return m_handle; }

private:
    HANDLE m_handle = nullptr;
};

[[noreturn]] void cannotStart(const std::string& program) {
    throw std::runtime_error("the program '" + program + "' cannot be started: error " +
                             std::to_string(GetLastError()));
}

HANDLE handleOf(const PipeEnd& end) {
    return reinterpret_cast<HANDLE>(end.native());
}

PipeEnd endOf(HANDLE handle) {
    return PipeEnd(reinterpret_cast<PipeEnd::Native>(handle));
}

// Reading and writing end. A started program gets an end only if it is named for it.
std::pair<PipeEnd, PipeEnd> pipe(const std::string& program) {
    HANDLE reading = nullptr;
    HANDLE writing = nullptr;
    if (CreatePipe(&reading, &writing, nullptr, 0) == 0) {
        cannotStart(program);
    }
    return {endOf(reading), endOf(writing)};
}

// The processes of a job end when its last handle is closed, which the system does at our end.
Handle jobThatEndsWithUs() {
    Handle job(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}

// What a started program has from its first moment: the handles that it inherits, and its job. If
// it came into the job later, our end in between would leave a program that nobody ends.
class Attributes {
public:
    // Both arguments are used until the program is started.
    Attributes(std::array<HANDLE, 3>& handles, HANDLE& job) {
        constexpr DWORD count = 2;
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, count, 0, &size);
        m_bytes.resize(size);
        for (HANDLE handle : handles) {
            SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
        }
        if (InitializeProcThreadAttributeList(list(), count, 0, &size) == 0 ||
            UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles.data(),
                                      handles.size() * sizeof(HANDLE), nullptr, nullptr) == 0 ||
            UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_JOB_LIST, &job, sizeof job,
                                      nullptr, nullptr) == 0) {
            throw std::runtime_error("no list of a program's attributes can be made");
        }
    }
    ~Attributes() { DeleteProcThreadAttributeList(list()); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    LPPROC_THREAD_ATTRIBUTE_LIST list() {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_bytes.data());
    }

private:
    std::vector<char> m_bytes;
};

HANDLE openNothing(DWORD access) {
    return CreateFileW(L"NUL", access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE duplicateOf(HANDLE handle) {
    HANDLE copy = INVALID_HANDLE_VALUE;
    DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), &copy, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    return copy;
}

} // namespace

std::size_t PipeEnd::read(char* to, std::size_t size) const {
    DWORD count = 0;
    const BOOL good = ReadFile(handleOf(*this), to, static_cast<DWORD>(size), &count, nullptr);
    return good != 0 ? count : 0;
}

bool PipeEnd::write(const std::string& text) const {
    std::size_t done = 0;
    while (done < text.size()) {
        DWORD count = 0;
        if (WriteFile(handleOf(*this), text.data() + done, static_cast<DWORD>(text.size() - done),
                      &count, nullptr) == 0) {
            return false;
        }
        done += count;
    }
    return true;
}

void PipeEnd::close() {
    if (m_native != none) {
        CloseHandle(handleOf(*this));
        m_native = none;
    }
}

struct ChildProcess::State {
    Handle process;
    Handle job;
    std::atomic<bool> endedByUs = false;
};

ChildProcess::ChildProcess(const std::vector<std::string>& words, Errors errors)
    : m_state(std::make_unique<State>()) {
    auto [theirIn, in] = pipe(words.at(0));
    auto [out, theirOut] = pipe(words.at(0));
    const Handle err(errors == Errors::Dropped ? openNothing(GENERIC_WRITE)
                                               : duplicateOf(GetStdHandle(STD_ERROR_HANDLE)));
    std::array<HANDLE, 3> streams = {handleOf(theirIn), handleOf(theirOut), err.get()};
    m_state->job = jobThatEndsWithUs();
    HANDLE job = m_state->job.get();
    Attributes attributes(streams, job);
    STARTUPINFOEXW start{};
    start.StartupInfo.cb = sizeof start;
    start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    start.StartupInfo.hStdInput = streams[0];
    start.StartupInfo.hStdOutput = streams[1];
    start.StartupInfo.hStdError = streams[2];
    start.lpAttributeList = attributes.list();
    const std::wstring program = pathOf(words[0]).make_preferred().wstring();
    std::wstring line = quotedForWindows(program);
    for (std::size_t i = 1; i < words.size(); ++i) {
        line.append(L" ").append(quotedForWindows(pathOf(words[i]).wstring()));
    }
    PROCESS_INFORMATION started{};
    // A new process can end before its first instruction, through no fault of the program: one of
    // some thousands under Wine, where a place in memory that it needs is taken by chance.
    for (int attempts = 3;
         CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE,
                        CREATE_NEW_PROCESS_GROUP | CREATE_NO_WINDOW | EXTENDED_STARTUPINFO_PRESENT,
                        nullptr, nullptr, &start.StartupInfo, &started) == 0;) {
        if (GetLastError() != ERROR_INTERNAL_ERROR || --attempts == 0) {
            cannotStart(words[0]);
        }
    }
    m_state->process = Handle(started.hProcess);
    CloseHandle(started.hThread);
    m_in = std::move(in);
    m_out = std::move(out);
}

ChildProcess::~ChildProcess() {
    end();
    static_cast<void>(wait());
}

std::uint64_t ChildProcess::number() const {
    return GetProcessId(m_state->process.get());
}

void ChildProcess::end() {
    constexpr UINT killed = 1;
    if (!hasEnded()) {
        m_state->endedByUs = true;
        TerminateJobObject(m_state->job.get(), killed);
        TerminateProcess(m_state->process.get(), killed); // if it is in no job
    }
}

bool ChildProcess::hasEnded() const {
    return WaitForSingleObject(m_state->process.get(), 0) == WAIT_OBJECT_0;
}

std::string ChildProcess::wait() {
    WaitForSingleObject(m_state->process.get(), INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(m_state->process.get(), &code);
    if (m_state->endedByUs) {
        return "was ended";
    }
    constexpr DWORD crashed = 0x80000000U; // the system's own codes are above
    std::array<char, 40> text{};
    static_cast<void>(
        std::snprintf(text.data(), text.size(),
                      code >= crashed ? "ended with status 0x%08lX" : "ended with status %lu",
                      static_cast<unsigned long>(code)));
    return text.data();
}

std::uint64_t ChildProcess::memory() const {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(m_state->process.get(), &counters, sizeof counters);
    return counters.WorkingSetSize;
}

std::uint64_t ChildProcess::peakMemory() const {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(m_state->process.get(), &counters, sizeof counters);
    return counters.PeakWorkingSetSize;
}

void ChildProcess::forgetPeakMemory() {}

std::string ownProgram() {
    constexpr std::size_t longest = 32768;
    std::wstring path(longest, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return nameOf(path);
}

StandardStreams takeStandardStreams() {
    constexpr int input = 0;
    constexpr int output = 1;
    constexpr int errors = 2;
    StandardStreams streams{endOf(duplicateOf(GetStdHandle(STD_INPUT_HANDLE))),
                            endOf(duplicateOf(GetStdHandle(STD_OUTPUT_HANDLE)))};
    const int nothing = _wopen(L"NUL", _O_RDONLY);
    _dup2(nothing, input);
    _close(nothing);
    _dup2(errors, output);
    return streams;
}

} // namespace tarvix
