// Included before every source of a mutated build, which has all small changes, each switched by
// its number. TARVIX_MUTANT is the one that is on. TARVIX_MUTANT_TRACE names a file in which the
// byte of each number is set that is asked for.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarvix_mutants {

inline int activeNumber() {
    const char* const number = getenv("TARVIX_MUTANT");
    return number == nullptr ? 0 : atoi(number);
}

inline int traced __attribute__((visibility("hidden"))) = 0; // numbers that the trace has

// Shared with other processes of the same test, so that what a killed one asked for counts, too.
inline char* openTrace() {
    const char* const path = getenv("TARVIX_MUTANT_TRACE");
    const int file = path == nullptr ? -1 : open(path, O_RDWR | O_CLOEXEC);
    struct stat status = {};
    if (file < 0 || fstat(file, &status) != 0) {
        return nullptr;
    }
    void* const bytes = mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ | PROT_WRITE,
                             MAP_SHARED, file, 0);
    close(file);
    traced = static_cast<int>(status.st_size);
    return bytes == MAP_FAILED ? nullptr : static_cast<char*>(bytes);
}

inline int active __attribute__((visibility("hidden"))) = activeNumber();
inline char* trace __attribute__((visibility("hidden"))) = openTrace();

} // namespace tarvix_mutants

inline bool tarvix_mutant(int number) {
    if (__builtin_expect(tarvix_mutants::trace != nullptr, 0) && number < tarvix_mutants::traced) {
        tarvix_mutants::trace[number] = 1;
    }
    return tarvix_mutants::active == number;
}
