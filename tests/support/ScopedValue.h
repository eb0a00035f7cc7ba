// A variable of the program, such as an option of the run, with another value for one test.
#pragma once

#include <utility>

namespace testsupport {

/// Gives the variable a value until the end of the scope.
template <typename Type>
class ScopedValue {
  public:
    ScopedValue(Type& variable, Type value)
        : m_variable(variable), m_before(std::exchange(variable, std::move(value))) {}
    ~ScopedValue() { m_variable = std::move(m_before); }
    ScopedValue(const ScopedValue&) = delete;
    ScopedValue& operator=(const ScopedValue&) = delete;

  private:
    Type& m_variable;
    Type m_before;
};

}  // namespace testsupport
