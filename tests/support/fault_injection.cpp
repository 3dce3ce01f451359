#include "tests/support/fault_injection.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

struct State {
    bool isActive = false;
    test::Fault kind = test::Fault::none;
    long nth = 0;
    std::array<long, 4> counts{};
    bool hasFailed = false;
    std::array<void*, 48> trace{};
    int traceLength = 0;
};

thread_local State state;
thread_local long blocks = 0;

Dl_info symbolAt(int frame) {
    Dl_info info{};
    dladdr(state.trace[static_cast<std::size_t>(frame)], &info);
    info.dli_sname = info.dli_sname == nullptr ? "" : info.dli_sname;
    info.dli_fname = info.dli_fname == nullptr ? "" : info.dli_fname;
    return info;
}

// The library that asked, the C and C++ run time left out.
std::string_view askingLibrary() {
    const std::string_view program = symbolAt(0).dli_fname;
    for (int i = 1; i < state.traceLength; ++i) {
        const std::string_view path = symbolAt(i).dli_fname;
        const std::string_view file = path.substr(path.rfind('/') + 1);
        if (path != program && !file.starts_with("libstdc++") && !file.starts_with("libc.")) {
            return file;
        }
    }
    return {};
}

// docs/hardening.md says why, for each.
bool wouldEndTheProcess() {
    for (int i = 0; i < state.traceLength; ++i) {
        const std::string_view function = symbolAt(i).dli_sname;
        if (function.find("BufferArea") != std::string_view::npos ||
            function == "jpeg_CreateCompress") {
            return true;
        }
    }
    const std::string_view library = askingLibrary();
    return library.starts_with("libgomp") || library.starts_with("libomp");
}

// Counts one of the kind; true when it is the one that is to fail.
bool isDue(test::Fault kind) {
    State& s = state;
    if (!s.isActive || ++s.counts[static_cast<std::size_t>(kind)] != s.nth || kind != s.kind) {
        return false;
    }
    s.isActive = false; // the trace allocates
    s.traceLength = backtrace(s.trace.data(), static_cast<int>(s.trace.size()));
    s.hasFailed = !wouldEndTheProcess();
    s.isActive = true;
    return s.hasFailed;
}

void* countedBlock(void* block) {
    blocks += block != nullptr ? 1 : 0;
    return block;
}

// The C library's own function of this name.
template <class Function>
Function* next(Function* /*ours*/, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// The C library's own names from here on.
// NOLINTBEGIN(readability-identifier-naming,bugprone-reserved-identifier,cert-dcl37-c,cert-dcl50-cpp)
#pragma GCC visibility push(default)
extern "C" {

void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
void __libc_free(void* block);

void* malloc(std::size_t bytes) noexcept {
    if (isDue(test::Fault::allocation)) {
        errno = ENOMEM;
        return nullptr;
    }
    return countedBlock(__libc_malloc(bytes));
}

void* calloc(std::size_t count, std::size_t bytes) noexcept {
    if (isDue(test::Fault::allocation)) {
        errno = ENOMEM;
        return nullptr;
    }
    return countedBlock(__libc_calloc(count, bytes));
}

void* realloc(void* block, std::size_t bytes) noexcept {
    if (isDue(test::Fault::allocation)) {
        errno = ENOMEM;
        return nullptr;
    }
    void* const moved = __libc_realloc(block, bytes);
    if (block == nullptr) {
        countedBlock(moved);
    } else if (moved == nullptr && bytes == 0) {
        --blocks;
    }
    return moved;
}

void* memalign(std::size_t alignment, std::size_t bytes) noexcept {
    if (isDue(test::Fault::allocation)) {
        errno = ENOMEM;
        return nullptr;
    }
    return countedBlock(__libc_memalign(alignment, bytes));
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) noexcept {
    return memalign(alignment, bytes);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t bytes) noexcept {
    void* const made = memalign(alignment, bytes);
    if (made == nullptr) {
        return ENOMEM;
    }
    *block = made;
    return 0;
}

void free(void* block) noexcept {
    blocks -= block != nullptr ? 1 : 0;
    __libc_free(block);
}

FILE* fopen(const char* path, const char* mode) {
    static const auto real = next(&fopen, "fopen");
    if (isDue(test::Fault::open)) {
        errno = EMFILE;
        return nullptr;
    }
    return real(path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    return fopen(path, mode);
}

int open(const char* path, int flags, ...) {
    static const auto real = next(&open, "open");
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (isDue(test::Fault::open)) {
        errno = EMFILE;
        return -1;
    }
    return real(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return open(path, flags, mode);
}

ssize_t write(int file, const void* data, std::size_t bytes) {
    static const auto real = next(&write, "write");
    if (isDue(test::Fault::write)) {
        errno = ENOSPC;
        return -1;
    }
    return real(file, data, bytes);
}

ssize_t pwrite(int file, const void* data, std::size_t bytes, off_t at) {
    static const auto real = next(&pwrite, "pwrite");
    if (isDue(test::Fault::write)) {
        errno = ENOSPC;
        return -1;
    }
    return real(file, data, bytes, at);
}

int fsync(int file) {
    static const auto real = next(&fsync, "fsync");
    if (isDue(test::Fault::write)) {
        errno = EIO;
        return -1;
    }
    return real(file);
}

int rename(const char* from, const char* to) noexcept {
    static const auto real = next(&rename, "rename");
    if (isDue(test::Fault::write)) {
        errno = EIO;
        return -1;
    }
    return real(from, to);
}

ssize_t writev(int file, const iovec* pieces, int count) {
    static const auto real = next(&writev, "writev");
    if (isDue(test::Fault::write)) {
        errno = ENOSPC;
        return -1;
    }
    return real(file, pieces, count);
}

std::size_t fwrite(const void* data, std::size_t size, std::size_t count, FILE* file) {
    static const auto real = next(&fwrite, "fwrite");
    if (isDue(test::Fault::write)) {
        errno = ENOSPC;
        return 0;
    }
    return real(data, size, count, file);
}

} // extern "C"
#pragma GCC visibility pop
// NOLINTEND(readability-identifier-naming,bugprone-reserved-identifier,cert-dcl37-c,cert-dcl50-cpp)

namespace test {

FaultInjection::FaultInjection(Fault kind, long nth) {
    state = {};
    state.kind = kind;
    state.nth = nth;
    state.isActive = true;
}

FaultInjection::~FaultInjection() {
    state.isActive = false;
}

long FaultInjection::count(Fault kind) {
    return state.counts[static_cast<std::size_t>(kind)];
}

long FaultInjection::liveBlocks() {
    return blocks;
}

bool FaultInjection::hasFailed() {
    return state.hasFailed;
}

std::string FaultInjection::failedLibrary() {
    return std::string(askingLibrary());
}

std::string FaultInjection::failedTrace() {
    std::string text;
    char** const lines = backtrace_symbols(state.trace.data(), state.traceLength);
    for (int i = 2; lines != nullptr && i < state.traceLength; ++i) {
        text += std::string("\n    ") + lines[i];
    }
    std::free(lines); // NOLINT(cppcoreguidelines-no-malloc): backtrace_symbols' way
    return text;
}

} // namespace test
