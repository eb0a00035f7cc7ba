// Wide text: parts, case, white space, placeholders and numbers.
#include "corekit/text/String.h"

#include <algorithm>
#include <array>
#include <limits>

#include "corekit/text/Character.h"
#include "corekit/text/Encoding.h"

namespace corekit {

namespace {

constexpr std::wstring_view kWhiteSpace = L" \t\n\v\f\r";

std::wstring Mapped(std::wstring text, wchar_t (*map)(wchar_t)) {
    std::ranges::transform(text, text.begin(), map);
    return text;
}

/// `values[0]` stands in for "%1", `values[1]` for "%2" and so on; other placeholders stay.
template <std::size_t count>
std::wstring FilledIn(std::wstring_view pattern, const std::array<std::wstring_view, count>& values) {
    static_assert(count <= 9);
    std::wstring filled;
    for (;;) {
        const std::size_t percent = pattern.find(L'%');
        filled += pattern.substr(0, percent);
        if (percent == pattern.npos) return filled;
        pattern.remove_prefix(percent + 1);
        const bool isPlaceholder =
            !pattern.empty() && pattern[0] >= L'1' && static_cast<std::size_t>(pattern[0] - L'1') < count;
        if (isPlaceholder) {
            filled += values[static_cast<std::size_t>(pattern[0] - L'1')];
            pattern.remove_prefix(1);
        } else {
            filled += L'%';
        }
    }
}

}  // namespace

String String::FromUtf8(std::string_view bytes) {
    return Utf8Encoding().Decode(bytes);
}

std::string String::Utf8() const {
    return Utf8Encoding().Encode(*this);
}

String String::FromInt(long long number) {
    return String(std::to_wstring(number));
}

String String::Mid(std::size_t from, std::size_t count) const {
    return from < m_text.size() ? String(View().substr(from, count)) : String();
}

std::optional<String> String::WithoutSuffix(const String& suffix) const {
    if (!EndsWith(suffix)) return std::nullopt;
    return Left(Length() - suffix.Length());
}

String String::Lower() const {
    return String(Mapped(m_text, ToLower));
}

String String::Upper() const {
    return String(Mapped(m_text, ToUpper));
}

String String::TrimLeft() const {
    return Mid(m_text.find_first_not_of(kWhiteSpace));
}

String String::TrimRight() const {
    const std::size_t last = m_text.find_last_not_of(kWhiteSpace);
    return last == npos ? String() : Left(last + 1);
}

String& String::Replace(const String& what, const String& with) {
    std::size_t at = what.IsEmpty() ? npos : m_text.find(what.m_text);
    if (at == npos) return *this;
    std::wstring replaced;
    std::size_t done = 0;
    for (; at != npos; at = m_text.find(what.m_text, done)) {
        replaced.append(m_text, done, at - done).append(with.m_text);
        done = at + what.Length();
    }
    replaced.append(m_text, done);
    m_text = std::move(replaced);
    return *this;
}

String String::Arg(const String& first) const {
    return String(FilledIn<1>(m_text, {first.m_text}));
}

String String::Arg(const String& first, const String& second) const {
    return String(FilledIn<2>(m_text, {first.m_text, second.m_text}));
}

int String::ToInt() const {
    using Limits = std::numeric_limits<int>;
    std::wstring_view rest = m_text;
    rest.remove_prefix(std::min(rest.find_first_not_of(kWhiteSpace), rest.size()));
    const bool isNegative = rest.starts_with(L'-');
    if (isNegative || rest.starts_with(L'+')) rest.remove_prefix(1);
    long long magnitude = 0;
    for (const wchar_t digit : rest) {
        if (!IsDigit(digit)) break;
        magnitude = magnitude * 10 + (digit - L'0');
        if (magnitude > Limits::max()) return isNegative ? Limits::min() : Limits::max();
    }
    return static_cast<int>(isNegative ? -magnitude : magnitude);
}

}  // namespace corekit
