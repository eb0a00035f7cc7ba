// Reading meaning into text: booleans, tokens, what is safe to show and what is safe for a shell.
#include "corekit/text/Text.h"

#include <algorithm>

#include "corekit/text/Character.h"

namespace corekit {

namespace {

constexpr std::wstring_view kTrueWords[] = {L"yes", L"y", L"true", L"on", L"1"};

constexpr std::wstring_view kPlainPunctuation = L"_./,:=@%+-{}";

bool IsPlain(wchar_t character) {
    return IsDigit(character) || IsLetter(character) ||
           kPlainPunctuation.find(character) != kPlainPunctuation.npos;
}

/// Some shells read "{a,b}" and "{1..9}" as several words.
bool MayExpandBraces(const String& text) {
    return text.Contains(L"{") && (text.Contains(L",") || text.Contains(L".."));
}

}  // namespace

namespace Text {

bool StrToBool(const String& text) {
    const String word = text.Trim().Lower();
    return std::ranges::find(kTrueWords, word.View()) != std::end(kTrueWords);
}

String Printable(const String& text) {
    constexpr wchar_t kHexDigits[] = L"0123456789abcdef";
    std::wstring printable;
    printable.reserve(text.Length());
    for (const wchar_t character : text) {
        const wchar_t code = IsKeptByte(character) ? character & 0xFF : character;
        if (IsControl(code) && code != L'\t') {
            printable += {L'\\', L'x', kHexDigits[code >> 4], kHexDigits[code & 0xF]};
        } else {
            printable += character;
        }
    }
    return String(std::move(printable));
}

String ShellWord(const String& text) {
    const bool isPlain = !text.IsEmpty() && std::ranges::all_of(text, IsPlain) && !MayExpandBraces(text);
    return isPlain ? text : L"'" + InShellQuotes(text) + L"'";
}

String InShellQuotes(const String& text) {
    return String(text).Replace(L"'", L"'\\''");
}

}  // namespace Text

StringTokenizer::StringTokenizer(const String& text, const String& separators)
    : m_text(text), m_separators(separators) {}

bool StringTokenizer::GetToken(String& token) {
    if (m_ended) return false;
    const std::size_t end = m_text.View().find_first_of(m_separators.View(), m_position);
    m_ended = end == String::npos;
    token = m_text.Mid(m_position, m_ended ? end : end - m_position);
    m_position = end + 1;
    return true;
}

}  // namespace corekit
