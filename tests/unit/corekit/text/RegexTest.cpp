// POSIX extended regular expressions over wide text, and shell wildcards.
#include <gtest/gtest.h>
#include <string>

#include "corekit/text/Regex.h"
#include "tests/support/PrintString.h"

using corekit::HasWildcard;
using corekit::MatchesWildcard;
using corekit::Regex;
using corekit::RegexMatcher;
using corekit::String;

namespace {

constexpr const wchar_t* kReleaseVersion = L"(VERSION|release)[[:blank:]]*=?[[:blank:]]*([0-9.]+)";

}  // namespace

TEST(Regex, IsMatch_WhenThePatternOccurs) {
    const String text = L"Red Hat Enterprise Linux AS release 3 (Taroon Update 8)\n";
    EXPECT_TRUE(Regex::IsMatch(L"AS.*Taroon", text));
    EXPECT_TRUE(Regex::IsMatch(L"Taroon", text));
    EXPECT_TRUE(Regex::IsMatch(L"", text));
    EXPECT_FALSE(Regex::IsMatch(L"WS.*Taroon", text));
    EXPECT_FALSE(Regex::IsMatch(L"taroon", text));
}

TEST(Regex, MatchesAcrossLines) {
    EXPECT_TRUE(Regex::IsMatch(L"AS.*Nahant", L"AS\nNahant"));
    EXPECT_FALSE(Regex::IsMatch(L"^Nahant", L"AS\nNahant"));
}

TEST(Regex, MatchesNothing_WhenItDoesNotCompile) {
    for (const wchar_t* pattern : {L"(", L"[", L"a{2,1}", L"[[:nothing:]]"}) {
        SCOPED_TRACE(pattern);
        EXPECT_FALSE(Regex::IsMatch(pattern, L"([a"));
        RegexMatcher matcher(Regex(pattern), L"([a");
        EXPECT_FALSE(matcher.Match());
        EXPECT_EQ(matcher.Text(0), L"");
    }
    EXPECT_FALSE(Regex::IsMatch(std::wstring(L"a\0b", 3), L"a"));
}

TEST(Regex, FindsTextBesideANul) {
    const String text = std::wstring(L"a\0release 9", 11);
    EXPECT_TRUE(Regex::IsMatch(L"release", text));
    RegexMatcher matcher(Regex(kReleaseVersion), text);
    ASSERT_TRUE(matcher.Match());
    EXPECT_EQ(matcher.Text(2), L"9");
}

TEST(Regex, FindsTextBesideOtherScriptsAndKeptBytes) {
    RegexMatcher matcher(Regex(L"Linux (.*) x"), String::FromUtf8("\xFFLinux \xC3\xA4\xE9 x"));
    ASSERT_TRUE(matcher.Match());
    EXPECT_EQ(matcher.Text(1).Utf8(), "\xC3\xA4\xE9");
}

TEST(RegexMatcher, GivesTheTextOfGroups) {
    const struct {
        const wchar_t* text;
        const wchar_t* whole;
        const wchar_t* version;
    } table[] = {
        {L"Red Hat Linux release 9 (Shrike)", L"release 9", L"9"},
        {L"SuSE Linux 9.3 (i586)\nVERSION = 9.3\n", L"VERSION = 9.3", L"9.3"},
        {L"VERSION\t=\t10", L"VERSION\t=\t10", L"10"},
        {L"release7.2", L"release7.2", L"7.2"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.text);
        RegexMatcher matcher(Regex(kReleaseVersion), row.text);
        ASSERT_TRUE(matcher.Match());
        EXPECT_EQ(matcher.Text(0), row.whole);
        EXPECT_EQ(matcher.Text(2), row.version);
    }
}

TEST(RegexMatcher, GivesNothingWithoutAMatchOrForAGroupThatTookNoPart) {
    RegexMatcher none(Regex(kReleaseVersion), L"release nine");
    EXPECT_FALSE(none.Match());
    EXPECT_EQ(none.Text(0), L"");

    RegexMatcher half(Regex(L"(a)|(b)"), L"b");
    EXPECT_EQ(half.Text(0), L"");
    ASSERT_TRUE(half.Match());
    EXPECT_EQ(half.Text(1), L"");
    EXPECT_EQ(half.Text(2), L"b");
    EXPECT_EQ(half.Text(3), L"");
}

TEST(Wildcard, IsAnyOfStarQuestionMarkAndBracket) {
    for (const char* pattern : {"*", "a?", "[", "x[a]"}) EXPECT_TRUE(HasWildcard(pattern)) << pattern;
    for (const char* pattern : {"", "a", "{a,b}", "]", "\\", ".", "a b"})
        EXPECT_FALSE(HasWildcard(pattern)) << pattern;
}

TEST(Wildcard, MatchesWholeNames) {
    struct Row {
        const char* pattern;
        const char* name;
        bool matches;
    };
    for (const Row& row : {Row{"*", "a", true},
                           Row{"*", ".a", false},
                           Row{".*", ".a", true},
                           Row{"?a", ".a", false},
                           Row{"[.]a", ".a", false},
                           Row{"a*", "a.b", true},
                           Row{"a*c", "abcbc", true},
                           Row{"a*c", "abcb", false},
                           Row{"?", "ab", false},
                           Row{"[a-fA-F0-9]", "E", true},
                           Row{"[a-fA-F0-9]", "g", false},
                           Row{"[!a]", "b", true},
                           Row{"[]]", "]", true},
                           Row{"[", "[", true},
                           Row{"a\\*", "a\\b", true},
                           Row{"a\\*", "a*", false},
                           Row{"A", "a", false},
                           Row{"", "a", true},
                           Row{"", ".a", true},
                           Row{"{a,b}", "a", false},
                           Row{"*.kse", ".kse", false}}) {
        EXPECT_EQ(MatchesWildcard(row.pattern, row.name), row.matches) << row.pattern << " " << row.name;
    }
}

TEST(Wildcard, MatchesNothingWithANul) {
    EXPECT_FALSE(MatchesWildcard(std::string("a\0*", 3), "a"));
    EXPECT_FALSE(MatchesWildcard(std::string("\0", 1), "a"));
}
