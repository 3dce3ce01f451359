// Environment variables of this process, and so of the programs that it starts.
#pragma once

#include <optional>
#include <string>

namespace test {

// Sets an environment variable (nullopt: unsets it) and restores it at the end of the scope.
class ScopedEnvironment {
public:
    ScopedEnvironment(std::string name, const std::optional<std::string>& value);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string m_name;
    std::optional<std::string> m_previous;
};

} // namespace test
