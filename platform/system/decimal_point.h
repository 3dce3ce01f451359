// Numbers in files, whatever the locale of the process.
#pragma once

#include <memory>

namespace tarvix {

// Within its lifetime the C library reads and writes numbers with '.' as the decimal point, on this
// thread only. If threads have no locales of their own (the run-time library of MinGW), on all
// threads; then one thread at a time has such an object. To be destroyed on the thread that made
// it. Its constructor throws std::runtime_error if the system cannot do so.
class ClassicNumbers {
public:
    ClassicNumbers();
    ~ClassicNumbers();
    ClassicNumbers(const ClassicNumbers&) = delete;
    ClassicNumbers& operator=(const ClassicNumbers&) = delete;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace tarvix
