#include "platform/system/decimal_point.h"

#include <clocale>
#include <stdexcept>

#include <locale.h> // NOLINT(modernize-deprecated-headers): POSIX's part of it

namespace tarvix {

struct ClassicNumbers::State {
    locale_t numbers = nullptr;
    locale_t before = nullptr;
};

ClassicNumbers::ClassicNumbers() : m_state(std::make_unique<State>()) {
    // All other categories as they are on this thread.
    const locale_t present = duplocale(uselocale(nullptr));
    if (present != nullptr) {
        m_state->numbers = newlocale(LC_NUMERIC_MASK, "C", present);
        if (m_state->numbers == nullptr) {
            freelocale(present);
        }
    }
    if (m_state->numbers == nullptr) {
        throw std::runtime_error("no locale for numbers");
    }
    m_state->before = uselocale(m_state->numbers);
}

ClassicNumbers::~ClassicNumbers() {
    uselocale(m_state->before);
    freelocale(m_state->numbers);
}

} // namespace tarvix
