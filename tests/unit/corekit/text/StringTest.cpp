// Wide text: parts, case, white space, placeholders and numbers.
#include <climits>
#include <gtest/gtest.h>

#include "corekit/text/String.h"
#include "tests/support/PrintString.h"

using corekit::String;

namespace {

TEST(String, GivesPartsThatMayReachPastTheEnd) {
    const String text = L"configure";
    EXPECT_EQ(text.Mid(3), L"figure");
    EXPECT_EQ(text.Mid(3, 3), L"fig");
    EXPECT_EQ(text.Mid(3, 100), L"figure");
    EXPECT_EQ(text.Mid(9), L"");
    EXPECT_EQ(text.Mid(10), L"");
    EXPECT_EQ(text.Mid(String::npos), L"");
    EXPECT_EQ(text.Left(3), L"con");
    EXPECT_EQ(text.Left(0), L"");
    EXPECT_EQ(text.Left(100), L"configure");
    EXPECT_EQ(String().Left(1), L"");
}

TEST(String, GivesWhatStandsBeforeASeparator) {
    EXPECT_EQ(String(L"ks.example:80").Before(L":"), L"ks.example");
    EXPECT_EQ(String(L"a:b:c").Before(L":"), L"a");
    EXPECT_EQ(String(L"http://srv").Before(L"://"), L"http");
    EXPECT_EQ(String(L":80").Before(L":"), L"");
    EXPECT_EQ(String(L"ks").Before(L":"), L"ks");
}

TEST(String, GivesWhatStandsBeforeASuffix) {
    EXPECT_EQ(String(L"/opt/etc/client.conf").WithoutSuffix(L"/etc/client.conf"), String(L"/opt"));
    EXPECT_EQ(String(L".bin.bin").WithoutSuffix(L".bin"), String(L".bin"));
    EXPECT_EQ(String(L".bin").WithoutSuffix(L".bin"), String());
    EXPECT_EQ(String(L"a").WithoutSuffix(L""), String(L"a"));
    EXPECT_EQ(String(L"a.bin.old").WithoutSuffix(L".bin"), std::nullopt);
    EXPECT_EQ(String(L"bin").WithoutSuffix(L".bin"), std::nullopt);
}

TEST(String, Finds) {
    const String text = L"a/b/c";
    EXPECT_EQ(text.Find(L"/"), 1u);
    EXPECT_EQ(text.FindLast(L"/"), 3u);
    EXPECT_EQ(text.FindOneOf(L"cb"), 2u);
    EXPECT_EQ(text.Find(L"x"), String::npos);
    EXPECT_TRUE(text.Contains(L"b/c"));
    EXPECT_FALSE(text.Contains(L"c/b"));
    EXPECT_TRUE(text.StartsWith(L"a/"));
    EXPECT_FALSE(text.StartsWith(L"b"));
    EXPECT_TRUE(text.EndsWith(L"/c"));
    EXPECT_FALSE(text.EndsWith(L"/b"));
}

TEST(String, FoldsTheCaseOfAsciiLettersOnly) {
    EXPECT_EQ(String(L"@AZ[`az{09\u00C4\u00E4\u0130").Lower(), L"@az[`az{09\u00C4\u00E4\u0130");
    EXPECT_EQ(String(L"@AZ[`az{09\u00C4\u00E4\u0131").Upper(), L"@AZ[`AZ{09\u00C4\u00E4\u0131");
}

TEST(String, TrimsAsciiWhiteSpaceOnly) {
    EXPECT_EQ(String(L" \t\r\n\v\fa b \t\r\n\v\f").Trim(), L"a b");
    EXPECT_EQ(String(L"  a ").TrimLeft(), L"a ");
    EXPECT_EQ(String(L"  a ").TrimRight(), L"  a");
    EXPECT_EQ(String(L" \n ").Trim(), L"");
    EXPECT_EQ(String().Trim(), L"");
    EXPECT_EQ(String(L"\u00A0a\u2003").Trim(), L"\u00A0a\u2003");
}

TEST(String, ReplacesEveryOccurrenceOnce) {
    EXPECT_EQ(String(L"%I/a/%I").Replace(L"%I", L"/opt"), L"/opt/a//opt");
    EXPECT_EQ(String(L"aaa").Replace(L"aa", L"b"), L"ba");
    EXPECT_EQ(String(L"abab").Replace(L"ab", L"abab"), L"abababab");
    EXPECT_EQ(String(L"a-b-").Replace(L"-", L""), L"ab");
    EXPECT_EQ(String(L"abc").Replace(L"x", L"y"), L"abc");
    EXPECT_EQ(String(L"abc").Replace(L"", L"y"), L"abc");
}

TEST(String, FillsPlaceholdersInOnePass) {
    EXPECT_EQ(String(L"%1 and %2").Arg(L"%2", L"%1"), L"%2 and %1");
    EXPECT_EQ(String(L"%2%1%2").Arg(L"a", L"b"), L"bab");
    EXPECT_EQ(String(L"%1 of %2").Arg(L"a"), L"a of %2");
    EXPECT_EQ(String(L"%1%1").Arg(L"%1"), L"%1%1");
    EXPECT_EQ(String(L"100% %% %0 %3 %").Arg(L"a", L"b"), L"100% %% %0 %3 %");
    EXPECT_EQ(String(L"%%1").Arg(L"a"), L"%a");
    EXPECT_EQ(String(L"<%1>").Arg(L""), L"<>");
    EXPECT_EQ(String().Arg(L"a"), L"");
}

TEST(String, ReadsALeadingNumber) {
    const struct {
        const wchar_t* text;
        int number;
    } table[] = {
        {L"", 0},
        {L"0", 0},
        {L"250", 250},
        {L" \t42", 42},
        {L"-7", -7},
        {L"+7", 7},
        {L"007", 7},
        {L"12k", 12},
        {L"3.5", 3},
        {L"x1", 0},
        {L"-", 0},
        {L"--1", 0},
        {L"- 1", 0},
        {L"0x10", 0},
        {L"\u0661", 0},
        {L"2147483647", INT_MAX},
        {L"2147483648", INT_MAX},
        {L"99999999999999999999999999", INT_MAX},
        {L"-2147483648", INT_MIN},
        {L"-2147483649", INT_MIN},
        {L"-99999999999999999999999999", INT_MIN},
    };
    for (const auto& row : table) EXPECT_EQ(String(row.text).ToInt(), row.number) << String(row.text).Utf8();
}

TEST(String, WritesNumbers) {
    EXPECT_EQ(String::FromInt(0), L"0");
    EXPECT_EQ(String::FromInt(-12), L"-12");
    EXPECT_EQ(String::FromInt(LLONG_MAX), L"9223372036854775807");
    EXPECT_EQ(String::FromInt(LLONG_MIN), L"-9223372036854775808");
}

TEST(String, JoinsAndCompares) {
    String text = L"a";
    text += L"b";
    text += L'c';
    EXPECT_EQ(text + L"d", L"abcd");
    EXPECT_LT(String(L"B"), String(L"a"));
    EXPECT_LT(String(L"a"), String(L"ab"));
    EXPECT_TRUE(corekit::Ltstr()(L"a", L"b"));
    EXPECT_FALSE(corekit::Ltstr()(L"a", L"a"));
}

TEST(String, KeepsNulCharacters) {
    const String text = std::wstring(L"a\0b", 3);
    EXPECT_EQ(text.Length(), 3u);
    EXPECT_EQ(text.Utf8(), std::string("a\0b", 3));
    EXPECT_EQ(String::FromUtf8(std::string("a\0b", 3)), text);
}

}  // namespace
