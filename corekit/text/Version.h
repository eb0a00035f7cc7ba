// A version of three numbers.
#pragma once

#include <compare>

#include "corekit/text/String.h"

namespace corekit {

/// major.minor build, such as 6.0 build 350. Ordered by major, minor, build.
class Version {
  public:
    constexpr Version() = default;
    constexpr Version(int major, int minor, int build) { Set(major, minor, build); }

    constexpr void Set(int major, int minor, int build) {
        m_major = major;
        m_minor = minor;
        m_build = build;
    }
    constexpr int Major() const { return m_major; }
    constexpr int Minor() const { return m_minor; }
    constexpr int Build() const { return m_build; }

    constexpr auto operator<=>(const Version&) const = default;

    /// Major and minor number joined by the separator, as in 6.0.
    String ToString(const String& separator) const {
        return String::FromInt(m_major) + separator + String::FromInt(m_minor);
    }

  private:
    int m_major = 0;
    int m_minor = 0;
    int m_build = 0;
};

}  // namespace corekit
