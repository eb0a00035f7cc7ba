// The character sets: every byte kept, and the choice of the terminal's.
#include <gtest/gtest.h>
#include <random>
#include <typeinfo>

#include "corekit/text/Encoding.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/PrintString.h"

using corekit::AsciiEncoding;
using corekit::Encoding;
using corekit::Latin1Encoding;
using corekit::Latin9Encoding;
using corekit::String;
using corekit::Utf8Encoding;
using testsupport::EnvironmentVariable;

namespace {

const wchar_t kKeptE9[] = {0xDCE9, 0};

std::string AllBytes() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    return bytes;
}

}  // namespace

TEST(Latin1Encoding, GivesEveryByteTheCodePointOfItsValue) {
    const String text = Latin1Encoding().Decode(AllBytes());
    ASSERT_EQ(text.Length(), 256u);
    for (std::size_t byte = 0; byte < 256; ++byte) EXPECT_EQ(text[byte], static_cast<wchar_t>(byte));
    EXPECT_EQ(Latin1Encoding().Encode(text), AllBytes());
}

TEST(Latin1Encoding, WritesKeptBytesAsTheyWereAndAQuestionMarkForWhatItLacks) {
    EXPECT_EQ(Latin1Encoding().Encode(kKeptE9), "\xE9");
    EXPECT_EQ(Latin1Encoding().Encode(L"\u00E4\u0100\u20AC\U0001F600"), "\xE4???");
}

TEST(Latin9Encoding, DiffersFromLatin1InEightLetters) {
    const struct {
        char byte;
        wchar_t character;
    } table[] = {
        {'\xA4', 0x20AC}, {'\xA6', 0x0160}, {'\xA8', 0x0161}, {'\xB4', 0x017D},
        {'\xB8', 0x017E}, {'\xBC', 0x0152}, {'\xBD', 0x0153}, {'\xBE', 0x0178},
    };
    std::wstring expected(Latin1Encoding().Decode(AllBytes()).View());
    for (const auto& row : table) expected[static_cast<unsigned char>(row.byte)] = row.character;
    EXPECT_EQ(Latin9Encoding().Decode(AllBytes()), String(expected));
    EXPECT_EQ(Latin9Encoding().Encode(String(expected)), AllBytes());
}

TEST(Latin9Encoding, WritesKeptBytesAsTheyWereAndAQuestionMarkForWhatItLacks) {
    const wchar_t keptA4[] = {0xDCA4, 0};
    EXPECT_EQ(Latin9Encoding().Encode(keptA4), "\xA4");
    EXPECT_EQ(Latin9Encoding().Encode(L"\u20AC\u00A4\u00BE\u0100"), "\xA4???");
}

TEST(AsciiEncoding, KeepsHighBytes_WhenReading) {
    const wchar_t expected[] = {L'a', 0xDC80, 0xDCFF, L'\x7F', 0};
    EXPECT_EQ(AsciiEncoding().Decode("a\x80\xFF\x7F"), expected);
}

TEST(AsciiEncoding, WritesAQuestionMarkForAllElse) {
    EXPECT_EQ(AsciiEncoding().Encode(String(L"a\t\x7F\u0080\u00E4\u20AC") + kKeptE9), "a\t\x7F????");
}

TEST(LocalEncoding, IsTheCharacterSetThatTheLocaleNames) {
    const auto isA = [](const char* locale, const std::type_info& type) {
        const EnvironmentVariable all("LC_ALL", locale);
        const Encoding& encoding = corekit::LocalEncoding();
        return typeid(encoding) == type;
    };
    for (const char* locale : {"C.UTF-8", "de_DE.utf8", "en_US.UTF8", "en_US.Utf_8", "sr_RS.UTF-8@latin"}) {
        EXPECT_TRUE(isA(locale, typeid(Utf8Encoding))) << locale;
    }
    for (const char* locale : {"de_DE.ISO-8859-1", "de_DE.iso88591", "de_DE.ISO8859-1", "x.ISO_8859-1@y"}) {
        EXPECT_TRUE(isA(locale, typeid(Latin1Encoding))) << locale;
    }
    for (const char* locale : {"de_DE.ISO-8859-15@euro", "de_DE.iso885915"}) {
        EXPECT_TRUE(isA(locale, typeid(Latin9Encoding))) << locale;
    }
    for (const char* locale : {"C", "POSIX", "de_DE", "de_DE@euro", "utf8", "ja_JP.eucJP", "de_DE.ISO-8859-2",
                               "de_DE.", ".@utf8", "de_DE.UTF-16", "\xC3\xA4.utf\xE9"}) {
        EXPECT_TRUE(isA(locale, typeid(AsciiEncoding))) << locale;
    }
}

TEST(LocalEncoding, GoesByTheFirstVariableThatIsSetAndNotEmpty) {
    const String text = L"\u00E4";
    const EnvironmentVariable lang("LANG", "de_DE.UTF-8");
    const EnvironmentVariable type("LC_CTYPE", std::nullopt);
    const EnvironmentVariable all("LC_ALL", "");
    EXPECT_EQ(corekit::StringEncoder::Local(text), "\xC3\xA4");
    const EnvironmentVariable latinType("LC_CTYPE", "de_DE.ISO-8859-1");
    EXPECT_EQ(corekit::StringEncoder::Local(text), "\xE4");
    const EnvironmentVariable posix("LC_ALL", "POSIX");
    EXPECT_EQ(corekit::StringEncoder::Local(text), "?");
}

TEST(LocalEncoding, IsAscii_WhenNoVariableIsSet) {
    const EnvironmentVariable lang("LANG", std::nullopt);
    const EnvironmentVariable type("LC_CTYPE", std::nullopt);
    const EnvironmentVariable all("LC_ALL", std::nullopt);
    EXPECT_EQ(corekit::StringEncoder::Local(L"a\u00E4"), "a?");
}

TEST(StringEncoder, WritesAscii_WhateverTheLocale) {
    const EnvironmentVariable all("LC_ALL", "C.UTF-8");
    EXPECT_EQ(corekit::StringEncoder::Ascii(L"a\u00E4"), "a?");
}

namespace {

/// The characters that stand for bytes without meaning.
String Kept(std::string_view bytes) {
    std::wstring kept;
    for (const char byte : bytes) kept += static_cast<wchar_t>(0xDC00 + static_cast<unsigned char>(byte));
    return String(kept);
}

String OneCharacter(wchar_t character) {
    return String(std::wstring(1, character));
}

}  // namespace

TEST(Utf8Encoding, ReadsAndWritesEverySequenceLength) {
    const struct {
        const char* bytes;
        wchar_t character;
    } table[] = {
        {"\x01", 0x01},
        {"\x7F", 0x7F},
        {"\xC2\x80", 0x80},
        {"\xDF\xBF", 0x7FF},
        {"\xE0\xA0\x80", 0x800},
        {"\xED\x9F\xBF", 0xD7FF},
        {"\xEE\x80\x80", 0xE000},
        {"\xEF\xBB\xBF", 0xFEFF},
        {"\xEF\xBF\xBF", 0xFFFF},
        {"\xF0\x90\x80\x80", 0x10000},
        {"\xF4\x8F\xBF\xBF", 0x10FFFF},
    };
    for (const auto& row : table) {
        EXPECT_EQ(Utf8Encoding().Decode(row.bytes), OneCharacter(row.character));
        EXPECT_EQ(Utf8Encoding().Encode(OneCharacter(row.character)), row.bytes);
    }
}

TEST(Utf8Encoding, KeepsEachByteOfWhatIsNotValid) {
    const std::string table[] = {
        "\x80",                  // a continuation alone
        "\xBF\x80",              //
        "\xC3",                  // cut off
        "\xE2\x82",              //
        "\xF0\x9F\x98",          //
        "\xC0\x80",              // overlong
        "\xC1\xBF",              //
        "\xE0\x9F\xBF",          //
        "\xF0\x8F\xBF\xBF",      //
        "\xED\xA0\x80",          // surrogates
        "\xED\xB2\x80",          //
        "\xED\xBF\xBF",          //
        "\xF4\x90\x80\x80",      // past the last code point
        "\xF5\x80\x80\x80",      //
        "\xF8\x88\x80\x80\x80",  // forms that are no longer UTF-8
        "\xFE\xFF",              //
    };
    for (const std::string& bytes : table) {
        EXPECT_EQ(Utf8Encoding().Decode(bytes), Kept(bytes));
        EXPECT_EQ(Utf8Encoding().Encode(Kept(bytes)), bytes);
    }
}

TEST(Utf8Encoding, GoesOnRightAfterAnInvalidByte) {
    EXPECT_EQ(Utf8Encoding().Decode("caf\xE9 au lait"), L"caf" + Kept("\xE9") + L" au lait");
    EXPECT_EQ(Utf8Encoding().Decode("\xE2\x82"
                                    "A"),
              Kept("\xE2\x82") + L"A");
    EXPECT_EQ(Utf8Encoding().Decode("\xE2\xC3\xA4"), Kept("\xE2") + L"\u00E4");
    EXPECT_EQ(Utf8Encoding().Decode("\xF0\x9F\xE2\x82\xAC"), Kept("\xF0\x9F") + L"\u20AC");
}

TEST(Utf8Encoding, WritesAQuestionMarkForWhatIsNoCharacter) {
    for (const wchar_t character : {0xD800, 0xDBFF, 0xDC00, 0xDC7F, 0xDD00, 0xDFFF, 0x110000, 0x7FFFFFFF}) {
        EXPECT_EQ(Utf8Encoding().Encode(OneCharacter(character)), "?") << static_cast<int>(character);
    }
    EXPECT_EQ(Utf8Encoding().Encode(OneCharacter(static_cast<wchar_t>(-1))), "?");
}

TEST(Utf8Encoding, FindsAMultiByteSequenceAtEveryPlaceOfALongText) {
    for (std::size_t length = 0; length < 40; ++length) {
        for (std::size_t at = 0; at <= length; ++at) {
            std::string bytes(length, 'x');
            std::wstring text(length, L'x');
            bytes.insert(at, "\xE2\x82\xAC");
            text.insert(at, 1, 0x20AC);
            EXPECT_EQ(Utf8Encoding().Decode(bytes), String(text));
            EXPECT_EQ(Utf8Encoding().Encode(String(text)), bytes);
        }
    }
}

TEST(Utf8Encoding, ReadsAndWritesEveryCodePoint) {
    std::wstring all;
    for (wchar_t character = 0; character <= 0x10FFFF; ++character) {
        if (character < 0xD800 || character > 0xDFFF) all += character;
    }
    EXPECT_TRUE(Utf8Encoding().Decode(Utf8Encoding().Encode(String(all))) == String(all));
}

TEST(Utf8Encoding, GivesBackAnyBytes) {
    std::mt19937 random(1);
    const auto upTo = [&random](unsigned limit) { return random() % limit; };
    for (int round = 0; round < 100000; ++round) {
        std::string bytes(upTo(24), '\0');
        // Mostly bytes with the high bit: they are the interesting ones.
        for (char& byte : bytes) byte = static_cast<char>(upTo(4) == 0 ? upTo(256) : 128 + upTo(128));
        ASSERT_EQ(Utf8Encoding().Encode(Utf8Encoding().Decode(bytes)), bytes);
    }
}

TEST(Utf8Encoding, IsTheStringsOwn) {
    EXPECT_EQ(String::FromUtf8("\xC3\xA4\xFF"), L"\u00E4" + Kept("\xFF"));
    EXPECT_EQ((L"\u00E4" + Kept("\xFF")).Utf8(), "\xC3\xA4\xFF");
}
