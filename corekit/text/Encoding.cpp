// The character sets: UTF-8, the single-byte ones, and the choice of the operator's terminal.
#include "corekit/text/Encoding.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "corekit/text/Character.h"

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

namespace {

constexpr char32_t kLastCodePoint = 0x10FFFF;

constexpr bool IsSurrogate(char32_t codePoint) {
    return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}

/// The forms of a multi-byte sequence: what the lead byte looks like and the first code point that needs it.
struct Form {
    unsigned char leadMask;
    unsigned char lead;
    unsigned char length;
    char32_t firstCodePoint;
};
constexpr Form kForms[] = {
    {0xE0, 0xC0, 2, 0x80},
    {0xF0, 0xE0, 3, 0x800},
    {0xF8, 0xF0, 4, 0x10000},
};

struct Sequence {
    char32_t codePoint = 0;
    std::size_t length = 0;  // 0 when the bytes are not valid
};

Sequence ReadForm(const Form& form, const char* at, const char* end) {
    if (end - at < form.length) return {};
    char32_t codePoint = static_cast<unsigned char>(*at) & static_cast<unsigned char>(~form.leadMask);
    for (std::size_t i = 1; i < form.length; ++i) {
        const auto byte = static_cast<unsigned char>(at[i]);
        if ((byte & 0xC0) != 0x80) return {};
        codePoint = codePoint << 6 | (byte & 0x3F);
    }
    const bool isValid =
        codePoint >= form.firstCodePoint && codePoint <= kLastCodePoint && !IsSurrogate(codePoint);
    return isValid ? Sequence{codePoint, form.length} : Sequence{};
}

/// The multi-byte sequence at `at`.
Sequence ReadSequence(const char* at, const char* end) {
    for (const Form& form : kForms) {
        if ((static_cast<unsigned char>(*at) & form.leadMask) == form.lead) return ReadForm(form, at, end);
    }
    return {};
}

/// What is written for a character: itself, or "?" when it has no place in UTF-8.
constexpr char32_t Writable(wchar_t character) {
    const auto codePoint = static_cast<char32_t>(character);
    return codePoint > kLastCodePoint || IsSurrogate(codePoint) ? '?' : codePoint;
}

void AppendSequence(std::string& bytes, char32_t codePoint) {
    const auto continuation = [codePoint](int shift) {
        return static_cast<char>(0x80 | (codePoint >> shift & 0x3F));
    };
    if (codePoint < 0x80) {
        bytes += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        bytes += {static_cast<char>(0xC0 | codePoint >> 6), continuation(0)};
    } else if (codePoint < 0x10000) {
        bytes += {static_cast<char>(0xE0 | codePoint >> 12), continuation(6), continuation(0)};
    } else {
        bytes +=
            {static_cast<char>(0xF0 | codePoint >> 18), continuation(12), continuation(6), continuation(0)};
    }
}

}  // namespace

String Utf8Encoding::Decode(std::string_view bytes) const {
    std::wstring text(bytes.size(), L'\0');  // never more characters than bytes
    wchar_t* to = text.data();
    const char* const end = bytes.data() + bytes.size();
    for (const char* at = bytes.data(); at != end;) {
        while (at != end && static_cast<unsigned char>(*at) < 0x80) *to++ = *at++;
        if (at == end) break;
        const Sequence sequence = ReadSequence(at, end);
        *to++ = sequence.length != 0 ? static_cast<wchar_t>(sequence.codePoint) : KeptByte(*at);
        at += sequence.length != 0 ? sequence.length : 1;
    }
    text.resize(static_cast<std::size_t>(to - text.data()));
    return String(std::move(text));
}

std::string Utf8Encoding::Encode(const String& text) const {
    const auto isAscii = [](wchar_t character) { return static_cast<char32_t>(character) < 0x80; };
    const auto rest = std::find_if_not(text.begin(), text.end(), isAscii);
    std::string bytes(text.begin(), rest);
    if (rest == text.end()) return bytes;
    bytes.reserve(text.Length());
    for (const wchar_t character : text.View().substr(bytes.size())) {
        if (IsKeptByte(character)) {
            bytes += ByteOf(character);
        } else {
            AppendSequence(bytes, Writable(character));
        }
    }
    return bytes;
}

}  // namespace corekit
