// What a fuzz target says: a property that must hold, and the parts of its input.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace fuzz {

/// Ends the process, as a crash does, unless the property holds.
inline void Holds(bool property, const char* what) {
    if (property) return;
    std::fprintf(stderr, "This does not hold: %s\n", what);
    std::abort();
}

/// An input in parts, with the byte 0x1f between them.
class Parts {
  public:
    explicit Parts(std::string_view input) : m_rest(input) {}

    /// The next part; empty when there is none.
    std::string_view Next() {
        const std::size_t end = m_rest.find('\x1f');
        const std::string_view part = m_rest.substr(0, end);
        m_rest.remove_prefix(end == m_rest.npos ? m_rest.size() : end + 1);
        return part;
    }

    /// All that has not been taken yet.
    std::string_view Rest() const { return m_rest; }

  private:
    std::string_view m_rest;
};

}  // namespace fuzz
