// Patterns on the platform's own matchers.
#include "corekit/text/Regex.h"

#include <fnmatch.h>
#include <regex.h>

namespace corekit {

namespace {

/// A compiled expression; freed when it goes.
class Compiled {
  public:
    explicit Compiled(const String& pattern) {
        const std::string bytes = pattern.Utf8();
        // The matcher would read the pattern only as far as a NUL.
        const bool isWhole = bytes.find('\0') == bytes.npos;
        m_isGood = isWhole && regcomp(&m_expression, bytes.c_str(), REG_EXTENDED) == 0;
    }
    Compiled(const Compiled&) = delete;
    Compiled& operator=(const Compiled&) = delete;
    ~Compiled() {
        if (m_isGood) regfree(&m_expression);
    }

    /// The groups of the first match in the text, the whole match first; none without a match.
    std::vector<regmatch_t> Search(const std::string& text) const {
        if (!m_isGood) return {};
        std::vector<regmatch_t> groups(m_expression.re_nsub + 1);
        // The bounds are given, so that the text may hold a NUL.
        groups[0] = {0, static_cast<regoff_t>(text.size())};
        const int status = regexec(&m_expression, text.data(), groups.size(), groups.data(), REG_STARTEND);
        return status == 0 ? groups : std::vector<regmatch_t>();
    }

  private:
    regex_t m_expression{};
    bool m_isGood = false;
};

String TextOf(const regmatch_t& group, std::string_view text) {
    if (group.rm_so < 0) return String();
    const auto from = static_cast<std::size_t>(group.rm_so);
    return String::FromUtf8(text.substr(from, static_cast<std::size_t>(group.rm_eo) - from));
}

}  // namespace

bool Regex::IsMatch(const String& pattern, const String& text) {
    return !Compiled(pattern).Search(text.Utf8()).empty();
}

RegexMatcher::RegexMatcher(const Regex& regex, const String& text) : m_regex(regex), m_text(text) {}

bool RegexMatcher::Match() {
    const std::string text = m_text.Utf8();
    m_groups.clear();
    for (const regmatch_t& group : Compiled(m_regex.Pattern()).Search(text)) {
        m_groups.push_back(TextOf(group, text));
    }
    return !m_groups.empty();
}

String RegexMatcher::Text(std::size_t index) const {
    return index < m_groups.size() ? m_groups[index] : String();
}

bool HasWildcard(const std::string& pattern) {
    return pattern.find_first_of("*?[") != std::string::npos;
}

bool MatchesWildcard(const std::string& pattern, const char* name) {
    if (pattern.find('\0') != std::string::npos) return false;
    return pattern.empty() || fnmatch(pattern.c_str(), name, FNM_PERIOD | FNM_NOESCAPE) == 0;
}

}  // namespace corekit
