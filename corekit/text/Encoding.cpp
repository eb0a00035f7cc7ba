// The single-byte character sets, and the one that the operator's terminal uses.
#include "corekit/text/Encoding.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "corekit/text/detail/KeptByte.h"

namespace corekit {

namespace {

constexpr char kLacking = '?';

/// Where ISO-8859-15 differs from ISO-8859-1.
struct Latin9Letter {
    unsigned char byte;
    wchar_t character;
};
constexpr std::array<Latin9Letter, 8> kLatin9Letters = {{
    {0xA4, 0x20AC},
    {0xA6, 0x0160},
    {0xA8, 0x0161},
    {0xB4, 0x017D},
    {0xB8, 0x017E},
    {0xBC, 0x0152},
    {0xBD, 0x0153},
    {0xBE, 0x0178},
}};

wchar_t Latin1Character(char byte) {
    return static_cast<unsigned char>(byte);
}

char Latin1Byte(wchar_t character) {
    if (IsKeptByte(character)) return ByteOf(character);
    return static_cast<char32_t>(character) <= 0xFF ? static_cast<char>(character) : kLacking;
}

wchar_t Latin9Character(char byte) {
    const auto letter =
        std::ranges::find(kLatin9Letters, static_cast<unsigned char>(byte), &Latin9Letter::byte);
    return letter != kLatin9Letters.end() ? letter->character : Latin1Character(byte);
}

char Latin9Byte(wchar_t character) {
    const auto letter = std::ranges::find(kLatin9Letters, character, &Latin9Letter::character);
    if (letter != kLatin9Letters.end()) return static_cast<char>(letter->byte);
    const char byte = Latin1Byte(character);
    const bool isReplaced = !IsKeptByte(character) && Latin9Character(byte) != character;
    return isReplaced ? kLacking : byte;
}

wchar_t AsciiCharacter(char byte) {
    return static_cast<unsigned char>(byte) < 0x80 ? Latin1Character(byte) : KeptByte(byte);
}

char AsciiByte(wchar_t character) {
    return static_cast<char32_t>(character) < 0x80 ? static_cast<char>(character) : kLacking;
}

String DecodeEach(std::string_view bytes, wchar_t (*characterOf)(char)) {
    std::wstring text(bytes.size(), L'\0');
    std::ranges::transform(bytes, text.begin(), characterOf);
    return String(std::move(text));
}

std::string EncodeEach(const String& text, char (*byteOf)(wchar_t)) {
    std::string bytes(text.Length(), '\0');
    std::ranges::transform(text.View(), bytes.begin(), byteOf);
    return bytes;
}

/// The locale that the environment asks for, such as "de_DE.UTF-8@euro".
std::string_view LocaleName() {
    for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* const value = std::getenv(variable);
        if (value != nullptr && *value != '\0') return value;
    }
    return {};
}

/// The character set of a locale in lower case without "-" and "_", such as "iso885915"; "" when it names
/// none.
String CharacterSetOf(std::string_view locale) {
    const std::size_t dot = locale.find('.');
    if (dot == locale.npos) return String();
    const std::string_view name = locale.substr(dot + 1);
    String characterSet = AsciiEncoding().Decode(name.substr(0, name.find('@'))).Lower();
    return characterSet.Replace(L"-", L"").Replace(L"_", L"");
}

}  // namespace

String Latin1Encoding::Decode(std::string_view bytes) const {
    return DecodeEach(bytes, Latin1Character);
}

std::string Latin1Encoding::Encode(const String& text) const {
    return EncodeEach(text, Latin1Byte);
}

String Latin9Encoding::Decode(std::string_view bytes) const {
    return DecodeEach(bytes, Latin9Character);
}

std::string Latin9Encoding::Encode(const String& text) const {
    return EncodeEach(text, Latin9Byte);
}

String AsciiEncoding::Decode(std::string_view bytes) const {
    return DecodeEach(bytes, AsciiCharacter);
}

std::string AsciiEncoding::Encode(const String& text) const {
    return EncodeEach(text, AsciiByte);
}

const Encoding& LocalEncoding() {
    static const Utf8Encoding utf8;
    static const Latin1Encoding latin1;
    static const Latin9Encoding latin9;
    static const AsciiEncoding ascii;
    const String characterSet = CharacterSetOf(LocaleName());
    if (characterSet == L"utf8") return utf8;
    if (characterSet == L"iso88591") return latin1;
    if (characterSet == L"iso885915") return latin9;
    return ascii;
}

namespace StringEncoder {

std::string Ascii(const String& text) {
    return AsciiEncoding().Encode(text);
}

std::string Local(const String& text) {
    return LocalEncoding().Encode(text);
}

}  // namespace StringEncoder

}  // namespace corekit
