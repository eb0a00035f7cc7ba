// The classes of characters, whatever the locale, and the characters that stand for bytes that are not valid
// text.
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

/// True for the control characters: C0, DEL and C1.
constexpr bool IsControl(wchar_t character) {
    const auto code = static_cast<char32_t>(character);  // whether wchar_t has a sign depends on the machine
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

/// The character that stands for a byte 0x80..0xff: U+DC80..U+DCFF, half of a surrogate pair, which no valid
/// text holds.
constexpr wchar_t KeptByte(char byte) {
    return static_cast<wchar_t>(0xDC00 | static_cast<unsigned char>(byte));
}

constexpr bool IsKeptByte(wchar_t character) {
    return character >= 0xDC80 && character <= 0xDCFF;
}

/// The byte that a kept byte stands for.
constexpr char ByteOf(wchar_t keptByte) {
    return static_cast<char>(keptByte & 0xFF);
}

}  // namespace corekit
