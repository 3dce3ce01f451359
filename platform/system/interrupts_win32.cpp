#include "platform/system/interrupts.h"

#include <mutex>

#include <windows.h>

namespace tarvix {

struct Interrupts::State {
    std::function<void()> onInterrupt;
};

namespace {

std::mutex mutex;                         // guards the next one
std::function<void()>* current = nullptr; // of the object that lives

// The system calls it on a thread of its own.
BOOL WINAPI onEvent(DWORD /*event*/) {
    const std::lock_guard lock(mutex);
    if (current == nullptr) {
        return FALSE;
    }
    (*current)();
    return TRUE;
}

} // namespace

Interrupts::Interrupts(std::function<void()> onInterrupt) : m_state(std::make_unique<State>()) {
    m_state->onInterrupt = std::move(onInterrupt);
    const std::lock_guard lock(mutex);
    current = &m_state->onInterrupt;
    SetConsoleCtrlHandler(onEvent, TRUE);
}

Interrupts::~Interrupts() {
    SetConsoleCtrlHandler(onEvent, FALSE);
    const std::lock_guard lock(mutex);
    current = nullptr;
}

} // namespace tarvix
