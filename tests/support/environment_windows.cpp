#include "tests/support/environment.h"

#include <cstdlib>
#include <utility>

namespace test {

ScopedEnvironment::ScopedEnvironment(std::string name, const std::optional<std::string>& value)
    : m_name(std::move(name)) {
    if (const char* const previous = std::getenv(m_name.c_str())) {
        m_previous = previous;
    }
    _putenv_s(m_name.c_str(), value.value_or("").c_str()); // an empty value unsets it
}

ScopedEnvironment::~ScopedEnvironment() {
    _putenv_s(m_name.c_str(), m_previous.value_or("").c_str());
}

} // namespace test
