// UTF-8: read strictly, every byte kept.
#include <gtest/gtest.h>
#include <random>

#include "corekit/text/Encoding.h"
#include "tests/support/PrintString.h"

using corekit::String;
using corekit::Utf8Encoding;

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
