#include "tests/support/environment.h"

#include <cstdlib>
#include <utility>

namespace test {

ScopedEnvironment::ScopedEnvironment(std::string name, const std::optional<std::string>& value)
    : m_name(std::move(name)) {
    if (const char* const previous = std::getenv(m_name.c_str())) {
        m_previous = previous;
    }
    if (value) {
        setenv(m_name.c_str(), value->c_str(), 1);
    } else {
        unsetenv(m_name.c_str());
    }
}

ScopedEnvironment::~ScopedEnvironment() {
    if (m_previous) {
        setenv(m_name.c_str(), m_previous->c_str(), 1);
    } else {
        unsetenv(m_name.c_str());
    }
}

} // namespace test
