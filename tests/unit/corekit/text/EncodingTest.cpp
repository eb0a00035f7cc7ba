// The single-byte character sets, and the choice of the terminal's.
#include <gtest/gtest.h>
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

TEST(AsciiEncoding, KeepsHighBytesWhenReading) {
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

TEST(LocalEncoding, IsAsciiWhenNoVariableIsSet) {
    const EnvironmentVariable lang("LANG", std::nullopt);
    const EnvironmentVariable type("LC_CTYPE", std::nullopt);
    const EnvironmentVariable all("LC_ALL", std::nullopt);
    EXPECT_EQ(corekit::StringEncoder::Local(L"a\u00E4"), "a?");
}

TEST(StringEncoder, WritesAsciiWhateverTheLocale) {
    const EnvironmentVariable all("LC_ALL", "C.UTF-8");
    EXPECT_EQ(corekit::StringEncoder::Ascii(L"a\u00E4"), "a?");
}
