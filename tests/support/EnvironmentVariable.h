// An environment variable that a test sets or clears, restored at the end of the scope.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace testsupport {

class EnvironmentVariable {
  public:
    /// Without a value the variable does not exist.
    EnvironmentVariable(std::string name, const std::optional<std::string>& value) : m_name(std::move(name)) {
        if (const char* old = std::getenv(m_name.c_str())) m_old = old;
        Put(value);
    }
    ~EnvironmentVariable() { Put(m_old); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

  private:
    void Put(const std::optional<std::string>& value) {
        if (value) {
            setenv(m_name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(m_name.c_str());
        }
    }

    std::string m_name;
    std::optional<std::string> m_old;
};

}  // namespace testsupport
