// Loads the module, calls it and frees it, fifty times: memory, handles and threads must not grow.
// It is a separate program, because a test that links the module would never see it unloaded.
#include "tests/support/module_exports.h"

#include <MorvelDib.h>

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

constexpr int kWarmUpRounds = 5; // heaps and caches of the run-time libraries reach their size
constexpr int kRounds = 50;
// How much the process may have grown at the end: less than one page per round, the noise of the
// heaps.
constexpr std::size_t kAllowedBytes = 128 * 1024;
// On a busy machine the handles may once step up by six and stay there: a pool of a run-time
// library, it seems. So one fifty may add something; the next must not.
constexpr int kAttempts = 2;

struct Usage {
    std::size_t privateBytes = 0; // committed, not shared
    DWORD handles = 0;
    DWORD threads = 0;
};

Usage usage() {
    Usage u;
    MEMORY_BASIC_INFORMATION region;
    const char* address = nullptr;
    while (VirtualQuery(address, &region, sizeof region) == sizeof region) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) {
            u.privateBytes += region.RegionSize;
        }
        address = static_cast<const char*>(region.BaseAddress) + region.RegionSize;
    }
    if (!GetProcessHandleCount(GetCurrentProcess(), &u.handles) || u.handles == 0) {
        // Wine does not count them, but a new one always gets the lowest free number.
        const HANDLE next = CreateEventA(nullptr, FALSE, FALSE, nullptr);
        u.handles = static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(next) / 4);
        CloseHandle(next);
    }
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry;
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        u.threads += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    CloseHandle(snapshot);
    return u;
}

template <class Function>
Function* exported(HMODULE module, const char* name) {
    const FARPROC address = test::exportedFunction(module, name);
    if (address == nullptr) {
        std::printf("FAILED: the module does not export %s\n", name);
        return nullptr;
    }
    Function* function = nullptr;
    static_assert(sizeof function == sizeof address);
    std::memcpy(&function, &address, sizeof function);
    return function;
}

using Canny = CDib*(CDib&, double, double, int, int);
using Denoise = CDib*(CDib&, float, float, int, int);

// Prints a line and returns false if anything is not as it should be.
bool once(const char* modulePath) {
    const HMODULE module = LoadLibraryA(modulePath);
    if (module == nullptr) {
        std::printf("FAILED: %s cannot be loaded, error %lu\n", modulePath, GetLastError());
        return false;
    }
    const auto canny = exported<Canny>(module, "tx_Canny");
    const auto denoise = exported<Denoise>(module, "tx_Denoise");
    bool good = canny != nullptr && denoise != nullptr;
    if (good) {
        CDib image;
        good = image.Create(64, 48, 24, nullptr, nullptr) != 0;
        std::memset(image.m_pBits, 0, 64 * 3 * 48);
        std::memset(image.m_pBits + std::size_t{64 * 3 * 24}, 0xFF, 64 * 3 * 24);
        // The denoising works on several threads.
        const std::unique_ptr<CDib> quiet(denoise(image, 3.0F, 3.0F, 7, 21));
        const std::unique_ptr<CDib> edges(canny(image, 50.0, 150.0, 3, 0));
        good = good && quiet && edges && quiet->m_hBitmap != nullptr && edges->m_hBitmap != nullptr;
        bool edgeFound = false;
        for (int i = 0; good && i < 64 * 48; ++i) {
            edgeFound = edgeFound || edges->m_pBits[i] == 255;
        }
        good = good && edgeFound;
        if (!good) {
            std::puts("FAILED: the module's results are wrong");
        }
    }
    if (!FreeLibrary(module)) {
        std::puts("FAILED: the module cannot be freed");
        return false;
    }
    if (GetModuleHandleA("Tarvix.dll") != nullptr) {
        std::puts("FAILED: the module stays after it was freed");
        return false;
    }
    return good;
}

} // namespace

int main(int argc, char** argv) {
    const char* modulePath = argc > 1 ? argv[1] : "Tarvix.dll";
    for (int i = 0; i < kWarmUpRounds; ++i) {
        if (!once(modulePath)) {
            return 1;
        }
    }
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const Usage before = usage();
        for (int i = 0; i < kRounds; ++i) {
            if (!once(modulePath)) {
                return 1;
            }
        }
        const Usage after = usage();
        std::printf("before: %zu bytes, %lu handles, %lu threads; after %d rounds: %zu bytes, %lu "
                    "handles, %lu threads\n",
                    before.privateBytes, before.handles, before.threads, kRounds,
                    after.privateBytes, after.handles, after.threads);
        if (after.threads <= before.threads && after.handles <= before.handles &&
            after.privateBytes <= before.privateBytes + kAllowedBytes) {
            return 0;
        }
    }
    std::puts("FAILED: loading and freeing the module leaves something behind");
    return 1;
}
