// clang's header of this name and MinGW's headers contradict each other. This has what Google
// Benchmark uses of it.
#pragma once

extern "C" void _ReadWriteBarrier(void);
