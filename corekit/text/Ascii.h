// The classes of ASCII characters, whatever the locale.
#pragma once

namespace corekit {

constexpr bool IsDigit(wchar_t character) {
    return character >= L'0' && character <= L'9';
}

constexpr bool IsUpper(wchar_t character) {
    return character >= L'A' && character <= L'Z';
}

constexpr bool IsLower(wchar_t character) {
    return character >= L'a' && character <= L'z';
}

constexpr bool IsLetter(wchar_t character) {
    return IsUpper(character) || IsLower(character);
}

/// The letter in the other case; any other character stays.
constexpr wchar_t ToLower(wchar_t character) {
    return IsUpper(character) ? character + (L'a' - L'A') : character;
}

constexpr wchar_t ToUpper(wchar_t character) {
    return IsLower(character) ? character - (L'a' - L'A') : character;
}

}  // namespace corekit
