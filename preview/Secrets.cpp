// Finds the values of passwords in configuration files, XML and messages.
#include "preview/Secrets.h"

#include <algorithm>
#include <vector>

namespace Zorvane::AgentInstaller::Preview {

namespace {

constexpr std::string_view kWord = "password";
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kSpace = " \t\r\n";
constexpr std::size_t kNone = std::string_view::npos;
constexpr std::size_t kShortest = 4;

std::string Lower(std::string_view text) {
    std::string lower(text);
    for (char& byte : lower) {
        if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
    }
    return lower;
}

/// A part of a text.
struct Range {
    std::size_t from = kNone;
    std::size_t to = 0;
};

/// What stands between quotes that open at `quote`.
Range Quoted(std::string_view text, std::size_t quote) {
    const std::size_t end = text.find(text[quote], quote + 1);
    return {quote + 1, std::min(end, text.size())};
}

/// True for the word in any case, at the end of what stands before a position, blanks and "=" left out.
bool IsNamedBefore(std::string_view lower, std::size_t quote, std::string_view word) {
    const std::size_t equals = lower.find_last_not_of(kSpace, quote - 1);
    if (equals == kNone || lower[equals] != '=') return false;
    const std::string_view before = lower.substr(0, equals);
    const std::size_t last = before.find_last_not_of(kSpace);
    if (last == kNone || !before.substr(0, last + 1).ends_with(word)) return false;
    return kSpace.find(before[last - word.size()]) != kNone;
}

/// A reference may stand for any letter: who hides a name behind one has it taken for a secret one.
bool IsSecretText(std::string_view name) {
    if (name.find('&') != kNone) return true;
    return IsSecretName(name.substr(0, name.find_last_not_of(kSpace) + 1));
}

/// The attribute `Value` beside a `Name` that is secret, as in <Setting Name="..." Value="...">, of the tag
/// that opens at `open`. No tag has a second "<", not even between quotes.
Range ValueBesideName(std::string_view text, std::string_view lower, std::size_t open) {
    const std::size_t limit = std::min(text.find('<', open + 1), text.size());
    Range value;
    bool isSecret = false;
    for (std::size_t at = open + 1; at < limit && text[at] != '>'; ++at) {
        if (text[at] != '"' && text[at] != '\'') continue;
        const Range quoted = Quoted(text.substr(0, limit), at);
        if (IsNamedBefore(lower, at, "value")) value = quoted;
        if (IsNamedBefore(lower, at, "name"))
            isSecret = isSecret || IsSecretText(text.substr(quoted.from, quoted.to - quoted.from));
        at = quoted.to;
    }
    return isSecret ? value : Range();
}

/// Where tags are open, asked for positions that ascend.
class Tags {
  public:
    explicit Tags(std::string_view text) : m_text(text) {}

    bool IsOpenAt(std::size_t position) {
        for (; m_next < position; ++m_next) {
            if (m_text[m_next] == '<' || m_text[m_next] == '>') m_isOpen = m_text[m_next] == '<';
        }
        return m_isOpen;
    }

  private:
    std::string_view m_text;
    std::size_t m_next = 0;
    bool m_isOpen = false;
};

/// The value that belongs to a name which ends at `end`.
Range ValueOf(std::string_view text, std::size_t end, Tags& tags) {
    const std::size_t next = std::min(text.find_first_not_of(kBlanks, end), text.size());
    if (next == text.size()) return {};
    if (text[next] == '=') {
        const std::size_t value = std::min(text.find_first_not_of(kBlanks, next + 1), text.size());
        if (value < text.size() && (text[value] == '"' || text[value] == '\'') && tags.IsOpenAt(end))
            return Quoted(text, value);
        return {value, std::min(text.find_first_of("\r\n", value), text.size())};
    }
    const std::size_t name = text.find_last_of("<> \t\n=\"'", end - 1);
    if (name == kNone || text[name] != '<') return {};
    const std::size_t close = text.find('>', end);
    if (close == kNone || text[close - 1] == '/') return {};
    return {close + 1, std::min(text.find("</", close), text.size())};
}

}  // namespace

bool IsSecretName(std::string_view name) {
    return Lower(name).ends_with(kWord);
}

std::string Masked(std::string_view text, std::set<std::string>* secrets) {
    const std::string lower = Lower(text);
    std::vector<Range> values;
    Tags tags(text);
    std::size_t found = 0;  // up to here, all is a value
    for (std::size_t at = lower.find(kWord); at != kNone; at = lower.find(kWord, at + kWord.size())) {
        if (at < found) continue;
        values.push_back(ValueOf(text, at + kWord.size(), tags));
        found = values.back().to;
    }
    for (std::size_t open = text.find('<'); open != kNone; open = text.find('<', open + 1))
        values.push_back(ValueBesideName(text, lower, open));
    std::ranges::sort(values, {}, &Range::from);
    std::string masked;
    std::size_t done = 0;
    for (const Range& value : values) {
        if (value.from == kNone || value.from < done || value.from >= value.to) continue;
        if (secrets != nullptr) secrets->emplace(text.substr(value.from, value.to - value.from));
        masked.append(text.substr(done, value.from - done)).append(kMask);
        done = value.to;
    }
    return masked.append(text.substr(done));
}

std::string WithoutValues(std::string text, const std::set<std::string>& secrets) {
    for (const std::string& secret : secrets) {
        if (secret.size() < kShortest) continue;
        for (std::size_t at = text.find(secret); at != std::string::npos;
             at = text.find(secret, at + kMask.size()))
            text.replace(at, secret.size(), kMask);
    }
    return text;
}

}  // namespace Zorvane::AgentInstaller::Preview
