// Allocations, opens and writes (also of names, and waiting for the disk) that fail on demand, for
// programs that compile fault_injection.cpp: its functions come before the C library's for every
// library of the process. GNU systems only.
#pragma once

#include <string>

namespace test {

enum class Fault { none, allocation, open, write };

// Within the scope, on this thread: counts what can fail, and makes the nth of a kind fail (1 is
// the next one; 0 none). What was counted can be asked for until the next scope begins.
class FaultInjection {
public:
    explicit FaultInjection(Fault kind = Fault::none, long nth = 0);
    ~FaultInjection();
    FaultInjection(const FaultInjection&) = delete;
    FaultInjection& operator=(const FaultInjection&) = delete;

    [[nodiscard]] static long count(Fault kind);
    // Blocks that this thread ever allocated, less those it freed, in and out of scopes.
    [[nodiscard]] static long liveBlocks();
    // False also where it would have ended the process: in cv::utils::BufferArea, whose destructor
    // raises an exception when one of its allocations failed, in libgomp, which ends it itself, and
    // in the JPEG encoder's first allocation, after which it jumps to where nothing is prepared.
    [[nodiscard]] static bool hasFailed();
    // The library that asked for what failed, the C and C++ run time left out.
    [[nodiscard]] static std::string failedLibrary();
    // All that stood on the stack.
    [[nodiscard]] static std::string failedTrace();
};

} // namespace test
