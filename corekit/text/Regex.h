// Patterns: POSIX extended regular expressions over wide text, and shell wildcards for names.
#pragma once

#include <string>
#include <vector>

#include "corekit/text/String.h"

namespace corekit {

/// A POSIX extended regular expression; case-sensitive. An expression that does not compile matches nothing.
/// "." and bracket expressions take one byte of UTF-8: beyond ASCII that is only part of a character.
class Regex {
  public:
    explicit Regex(const String& pattern) : m_pattern(pattern) {}
    const String& Pattern() const { return m_pattern; }

    /// True if the pattern occurs in the text.
    static bool IsMatch(const String& pattern, const String& text);

  private:
    String m_pattern;
};

/// One search for an expression in a text, and what its groups matched.
class RegexMatcher {
  public:
    RegexMatcher(const Regex& regex, const String& text);

    /// Searches; true if the expression occurs.
    bool Match();

    /// What group `index` matched (0 is the whole match); "" without a match, or if the group took no part in
    /// it.
    String Text(std::size_t index) const;

  private:
    Regex m_regex;
    String m_text;
    std::vector<String> m_groups;
};

/// True if the pattern has any of "*", "?" and "[".
bool HasWildcard(const std::string& pattern);

/// True if the name matches a shell wildcard: "*" takes no leading dot, "\" stands for itself. An empty
/// pattern matches every name, one with a NUL none.
bool MatchesWildcard(const std::string& pattern, const char* name);

}  // namespace corekit
