// The user's wish that the program ends: Ctrl-C, a closed terminal, the system's shutdown.
#pragma once

#include <functional>
#include <memory>

namespace tarvix {

// While an object of this class lives, such a wish calls a function instead of ending the process.
// On Windows, a process whose console is closed, or whose user logs off, has some seconds to end by
// itself. One object at a time.
class Interrupts {
public:
    // `onInterrupt` is called on a thread of its own, once for each wish. It must not throw.
    explicit Interrupts(std::function<void()> onInterrupt);
    ~Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace tarvix
