#include "platform/system/interrupts.h"

#include <atomic>
#include <mutex>

#include <windows.h>

namespace tarvix {

struct Interrupts::State {
    std::function<void()> onInterrupt;
};

namespace {

std::mutex mutex;                         // guards the next one
std::function<void()>* current = nullptr; // of the object that lives

std::atomic<bool> ending = false; // the process ends, and a call of onEvent() may not return

bool tell() {
    const std::lock_guard lock(mutex);
    if (current == nullptr) {
        return false;
    }
    (*current)();
    return true;
}

// The system calls it on a thread of its own.
BOOL WINAPI onEvent(DWORD event) {
    const bool isLast =
        event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT;
    ending = ending || isLast; // before whom it tells can look
    if (!tell()) {
        return FALSE;
    }
    if (isLast) {
        Sleep(INFINITE); // the system ends the process when this returns, or after some seconds
    }
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
    if (!ending) { // else it might wait for that call
        SetConsoleCtrlHandler(onEvent, FALSE);
    }
    const std::lock_guard lock(mutex);
    current = nullptr;
}

} // namespace tarvix
