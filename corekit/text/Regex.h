// POSIX extended regular expressions over wide text.
#pragma once

#include <vector>

#include "corekit/text/String.h"

namespace corekit {

/// A POSIX extended regular expression; case-sensitive. An expression that does not compile matches nothing.
/// "." and bracket expressions take one byte of UTF-8: beyond ASCII that is only part of a character.
class Regex {
  public:
    explicit Regex(const String& pattern) : m_pattern(pattern) {}
    const String& Pattern() const { return m_pattern; }

    /// Does the pattern occur in the text?
    static bool IsMatch(const String& pattern, const String& text);

  private:
    String m_pattern;
};

/// One search for an expression in a text, and what its groups matched.
class RegexMatcher {
  public:
    RegexMatcher(const Regex& regex, const String& text);

    /// Searches; true when the expression occurs.
    bool Match();

    /// What group `index` matched (0 is the whole match); empty without a match or for a group that took no
    /// part.
    String Text(std::size_t index) const;

  private:
    Regex m_regex;
    String m_text;
    std::vector<String> m_groups;
};

}  // namespace corekit
