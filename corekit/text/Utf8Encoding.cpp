// UTF-8, read strictly and written so that any bytes come back as they were.
#include <cstdint>
#include <cstring>

#include "corekit/text/Encoding.h"
#include "corekit/text/detail/KeptByte.h"

namespace corekit {

namespace {

constexpr char32_t kLastCodePoint = 0x10FFFF;

constexpr bool IsSurrogate(char32_t codePoint) {
    return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}

/// How many bytes from `at` on are ASCII, counted in whole blocks of eight.
std::size_t AsciiBlocks(const char* at, const char* end) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080;
    const char* const begin = at;
    for (std::uint64_t block = 0; end - at >= 8; at += 8) {
        std::memcpy(&block, at, sizeof block);
        if ((block & kHighBits) != 0) break;
    }
    return static_cast<std::size_t>(at - begin);
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

/// What is written for a character: itself, or "?" when it has no place in UTF-8. Kept bytes stay.
constexpr char32_t Writable(wchar_t character) {
    const auto codePoint = static_cast<char32_t>(character);
    return codePoint > kLastCodePoint || (IsSurrogate(codePoint) && !IsKeptByte(character)) ? '?' : codePoint;
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
        for (std::size_t ascii = AsciiBlocks(at, end); ascii != 0; --ascii) *to++ = *at++;
        if (at == end) break;
        if (static_cast<unsigned char>(*at) < 0x80) {
            *to++ = *at++;
            continue;
        }
        const Sequence sequence = ReadSequence(at, end);
        *to++ = sequence.length != 0 ? static_cast<wchar_t>(sequence.codePoint) : KeptByte(*at);
        at += sequence.length != 0 ? sequence.length : 1;
    }
    text.resize(static_cast<std::size_t>(to - text.data()));
    return String(std::move(text));
}

std::string Utf8Encoding::Encode(const String& text) const {
    std::string bytes;
    bytes.reserve(text.Length());
    for (const wchar_t character : text) {
        if (IsKeptByte(character)) {
            bytes += ByteOf(character);
        } else {
            AppendSequence(bytes, Writable(character));
        }
    }
    return bytes;
}

}  // namespace corekit
