// Booleans, tokens, and what is safe to show and to give to a shell.
#include <gtest/gtest.h>
#include <vector>

#include "corekit/text/Text.h"
#include "tests/support/PrintString.h"

using corekit::String;
using corekit::StringTokenizer;

namespace Text = corekit::Text;

namespace {

std::vector<String> Tokens(const String& text, const String& separators) {
    std::vector<String> tokens;
    StringTokenizer tokenizer(text, separators);
    for (String token; tokenizer.GetToken(token);) tokens.push_back(token);
    return tokens;
}

using List = std::vector<String>;

}  // namespace

TEST(StrToBool, KnowsTheTrueWords) {
    for (const wchar_t* text :
         {L"yes", L"y", L"true", L"on", L"1", L"YES", L"Y", L"True", L"oN", L" yes\r\n"}) {
        EXPECT_TRUE(Text::StrToBool(text)) << String(text).Utf8();
    }
}

TEST(StrToBool, TakesEverythingElseAsFalse) {
    for (const wchar_t* text : {L"", L" ", L"no", L"n", L"false", L"off", L"0", L"2", L"11", L"yess", L"ye",
                                L"yes no", L"t", L"j"}) {
        EXPECT_FALSE(Text::StrToBool(text)) << String(text).Utf8();
    }
}

TEST(Printable, LeavesOrdinaryTextAndTabsAlone) {
    EXPECT_EQ(Text::Printable(L"/opt/\u00E4\u20AC\t~ \\x"), L"/opt/\u00E4\u20AC\t~ \\x");
    EXPECT_EQ(Text::Printable(L"\u00A0"), L"\u00A0");
    EXPECT_EQ(Text::Printable(L""), L"");
}

TEST(Printable, ShowsControlCharactersAsLowerCaseHexadecimal) {
    EXPECT_EQ(Text::Printable(L"a\nb\r"), L"a\\x0ab\\x0d");
    EXPECT_EQ(Text::Printable(L"\x1B[31m\x7F"), L"\\x1b[31m\\x7f");
    EXPECT_EQ(Text::Printable(L"\u0080\u009B\u009F"), L"\\x80\\x9b\\x9f");
    EXPECT_EQ(Text::Printable(std::wstring(L"a\0b", 3)), L"a\\x00b");
    EXPECT_EQ(Text::Printable(L"\x08\x0B\x1F"), L"\\x08\\x0b\\x1f");
}

TEST(Printable, ShowsKeptControlBytesAndLeavesOtherKeptBytes) {
    EXPECT_EQ(Text::Printable(String::FromUtf8("\x80\x9B\x9F")), L"\\x80\\x9b\\x9f");
    EXPECT_EQ(Text::Printable(String::FromUtf8("caf\xE9\xA0\xFF")).Utf8(), "caf\xE9\xA0\xFF");
}

TEST(ShellWord, LeavesPlainWordsAlone) {
    for (const wchar_t* text :
         {L"a", L"/opt/zorvane/kell", L"AZaz09_./,:=@%+-", L"{ABC-12}", L"{", L"a,b", L"-x"}) {
        EXPECT_EQ(Text::ShellWord(text), text);
    }
}

TEST(ShellWord, QuotesEverythingElse) {
    const struct {
        const wchar_t* text;
        const wchar_t* word;
    } table[] = {
        {L"", L"''"},
        {L"a b", L"'a b'"},
        {L"a\nb", L"'a\nb'"},
        {L"~root", L"'~root'"},
        {L"$(reboot)", L"'$(reboot)'"},
        {L"`reboot`", L"'`reboot`'"},
        {L"a;b", L"'a;b'"},
        {L"*", L"'*'"},
        {L"a\\b", L"'a\\b'"},
        {L"\"", L"'\"'"},
        {L"#", L"'#'"},
        {L"!", L"'!'"},
        {L"it's", L"'it'\\''s'"},
        {L"'", L"''\\'''"},
        {L"\u00E4", L"'\u00E4'"},
    };
    for (const auto& row : table) EXPECT_EQ(Text::ShellWord(row.text), row.word);
}

TEST(ShellWord, QuotesBracesThatSomeShellsExpand) {
    EXPECT_EQ(Text::ShellWord(L"/etc/{passwd,shadow}"), L"'/etc/{passwd,shadow}'");
    EXPECT_EQ(Text::ShellWord(L"{1..9}"), L"'{1..9}'");
}

TEST(InShellQuotes, EscapesQuotesOnly) {
    EXPECT_EQ(Text::InShellQuotes(L"/opt/it's $HOME"), L"/opt/it'\\''s $HOME");
    EXPECT_EQ(Text::InShellQuotes(L"''"), L"'\\'''\\''");
    EXPECT_EQ(Text::InShellQuotes(L""), L"");
}

TEST(StringTokenizer, KeepsEmptyTokens) {
    EXPECT_EQ(Tokens(L"a//b", L"/"), (List{L"a", L"", L"b"}));
    EXPECT_EQ(Tokens(L"/a/", L"/"), (List{L"", L"a", L""}));
    EXPECT_EQ(Tokens(L"/", L"/"), (List{L"", L""}));
    EXPECT_EQ(Tokens(L"", L"/"), (List{L""}));
}

TEST(StringTokenizer, SplitsAtAnyOfItsSeparators) {
    EXPECT_EQ(Tokens(L"rc2;rc3,rc5", L";,"), (List{L"rc2", L"rc3", L"rc5"}));
    EXPECT_EQ(Tokens(L"4.18.2", L"."), (List{L"4", L"18", L"2"}));
    EXPECT_EQ(Tokens(L"a b", L""), (List{L"a b"}));
}

TEST(StringTokenizer, StaysAtItsEnd) {
    StringTokenizer tokenizer(L"a", L"/");
    String token;
    EXPECT_TRUE(tokenizer.GetToken(token));
    EXPECT_FALSE(tokenizer.GetToken(token));
    EXPECT_FALSE(tokenizer.GetToken(token));
    EXPECT_EQ(token, L"a");
}
