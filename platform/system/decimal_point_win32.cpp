#include "platform/system/decimal_point.h"

#include <clocale>
#include <mutex>
#include <stdexcept>
#include <string>

namespace tarvix {

namespace {

std::recursive_mutex& processLocale() {
    static std::recursive_mutex mutex;
    return mutex;
}

} // namespace

struct ClassicNumbers::State {
    int wasPerThread = -1; // where threads have no locales of their own
    std::unique_lock<std::recursive_mutex> alone;
    std::string before;
};

ClassicNumbers::ClassicNumbers() : m_state(std::make_unique<State>()) {
    m_state->wasPerThread = _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
    if (m_state->wasPerThread == -1) {
        m_state->alone = std::unique_lock(processLocale());
    }
    const char* const before = std::setlocale(LC_NUMERIC, nullptr);
    m_state->before = before == nullptr ? "C" : before;
    if (std::setlocale(LC_NUMERIC, "C") == nullptr) {
        throw std::runtime_error("no locale for numbers");
    }
}

ClassicNumbers::~ClassicNumbers() {
    (void)std::setlocale(LC_NUMERIC, m_state->before.c_str());
    if (m_state->wasPerThread != -1) {
        _configthreadlocale(m_state->wasPerThread);
    }
}

} // namespace tarvix
