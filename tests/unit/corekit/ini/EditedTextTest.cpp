// What a line of an INI file is, and lines that are set and added in a text.
#include <gtest/gtest.h>
#include <string>

#include "corekit/ini/detail/EditedText.h"

using corekit::EditedText;
using corekit::IniLine;
using corekit::ParseIniLine;
using Kind = corekit::IniLine::Kind;

namespace {

struct LineRow {
    std::string_view line;
    std::string_view name;
    std::string_view value = {};
};

std::string Joined(const EditedText& text) {
    std::string joined;
    for (const std::string_view piece : text.Pieces()) joined += piece;
    return joined;
}

/// The text with the lines "1", "2" ... added at the offset.
std::string WithLines(const std::string& original, std::size_t offset, int count = 1) {
    EditedText text(original);
    for (int i = 1; i <= count; ++i) text.AddLine(offset, 0, std::to_string(i));
    return Joined(text);
}

}  // namespace

TEST(IniLine, RecognisesSections) {
    constexpr LineRow rows[] = {
        {"[a]", "a"},        {"[Client Transport]", "Client Transport"},
        {" \t[a] \t", "a"},  {"[ a\t]", "a"},
        {"[a] behind", "a"}, {"[a]=b", "a"},
        {"[a]]", "a"},       {"[a]\r", "a"},
        {"[a=b]", "a=b"},    {"[;a]", ";a"},
        {"[]", ""},          {"[ ]", ""},
        {"[[a]", "[a"},      {"[\xe4\xc3\xb6]", "\xe4\xc3\xb6"},
    };
    for (const LineRow& row : rows) {
        const IniLine line = ParseIniLine(row.line);
        EXPECT_EQ(line.kind, Kind::Section) << row.line;
        EXPECT_EQ(line.name, row.name) << row.line;
    }
}

TEST(IniLine, RecognisesEntries) {
    constexpr LineRow rows[] = {
        {"a=b", "a", "b"},
        {"a=", "a", ""},
        {" \ta\v =\f b \t\r", "a", "b"},
        {"a b = c d", "a b", "c d"},
        {"a=b=c", "a", "b=c"},
        {"a==", "a", "="},
        {"a=b # c ; d", "a", "b # c ; d"},
        {"a=[b]", "a", "[b]"},
        {"a#;[=b", "a#;[", "b"},
        {"a=\"b\"", "a", "\"b\""},
        {"a=b\rc\r", "a", "b\rc"},
        {"\ra\r=\rb\r \r", "a", "b"},
        {"\xe4=\xff", "\xe4", "\xff"},
        {{"a\0b=c\0d", 7}, {"a\0b", 3}, {"c\0d", 3}},
    };
    for (const LineRow& row : rows) {
        const IniLine line = ParseIniLine(row.line);
        EXPECT_EQ(line.kind, Kind::Entry) << row.line;
        EXPECT_EQ(line.name, row.name) << row.line;
        EXPECT_EQ(line.value, row.value) << row.line;
    }
}

TEST(IniLine, TakesEverythingElseAsNeither) {
    for (const std::string_view text : {"", " ", "\r", "\t\r", "#", "# a=b", " ;a=b", ";", "#[a]", "=",
                                        " = b", "a", "no equals sign", "[", "[a", "[a=b", " [a = b"}) {
        const IniLine line = ParseIniLine(text);
        EXPECT_EQ(line.kind, Kind::Other) << text;
        EXPECT_EQ(line.name, "") << text;
        EXPECT_EQ(line.value, "") << text;
    }
}

TEST(IniLine, PutsAnEmptyValueAfterItsBlanks) {
    for (const std::string_view text : {"a=  \t", "a=  \t\r"}) {
        const IniLine line = ParseIniLine(text);
        EXPECT_EQ(line.value, "");
        EXPECT_EQ(line.value.data() - text.data(), 5);
    }
}

TEST(EditedText, GivesBackWhatIsNotEdited) {
    for (const std::string original : {"", "\n", "a", "a\n", "a\r\n\r\nb\n",
                                       "\xef\xbb\xbf"
                                       "a\n",
                                       "\xff\xfe"}) {
        EXPECT_EQ(Joined(EditedText(original)), original);
        EXPECT_EQ(EditedText(original).Original(), original);
    }
}

TEST(EditedText, BeginsAfterAByteOrderMark) {
    EXPECT_EQ(EditedText("").Begin(), 0U);
    EXPECT_EQ(EditedText("a\n").Begin(), 0U);
    EXPECT_EQ(EditedText("\xef\xbb").Begin(), 0U);
    EXPECT_EQ(EditedText("\xef\xbb\xbf").Begin(), 3U);
    EXPECT_EQ(EditedText("\xef\xbb\xbf"
                         "a\n")
                  .Begin(),
              3U);
}

TEST(EditedText, FindsALineByItsPlace) {
    const EditedText text("a\nbc\r\n\nd");
    EXPECT_EQ(text.Line(0), "a");
    EXPECT_EQ(text.Line(2), "bc\r");
    EXPECT_EQ(text.Line(6), "");
    EXPECT_EQ(text.Line(7), "d");
}

TEST(EditedText, ReplacesLines) {
    EditedText text("a\nb\nc");
    text.SetLine(4, "C");
    text.SetLine(0, "");
    text.SetLine(2, "longer");
    text.SetLine(2, "longer still");
    EXPECT_EQ(text.Line(0), "");
    EXPECT_EQ(text.Line(2), "longer still");
    EXPECT_EQ(text.Line(4), "C");
    EXPECT_EQ(Joined(text), "\nlonger still\nC");
    EXPECT_EQ(text.Original(), "a\nb\nc");
}

TEST(EditedText, AddsLinesWithTheLineEndBeforeThem) {
    EXPECT_EQ(WithLines("a\nb\n", 2), "a\n1\nb\n");
    EXPECT_EQ(WithLines("a\nb\n", 4), "a\nb\n1\n");
    EXPECT_EQ(WithLines("a\r\nb\n", 3), "a\r\n1\r\nb\n");
    EXPECT_EQ(WithLines("a\r\nb\n", 5), "a\r\nb\n1\n");
    EXPECT_EQ(WithLines("\n", 1), "\n1\n");
    EXPECT_EQ(WithLines("\r\n", 2), "\r\n1\r\n");
}

TEST(EditedText, AddsFirstLinesWithTheLineEndAfterThem) {
    EXPECT_EQ(WithLines("a\nb\r\n", 0), "1\na\nb\r\n");
    EXPECT_EQ(WithLines("a\r\nb\n", 0), "1\r\na\r\nb\n");
    EXPECT_EQ(WithLines("\xef\xbb\xbf"
                        "a\r\n",
                        3),
              "\xef\xbb\xbf"
              "1\r\na\r\n");
    EXPECT_EQ(WithLines("a", 0), "1\na");
    EXPECT_EQ(WithLines("", 0, 2), "1\n2\n");
    EXPECT_EQ(WithLines("\xef\xbb\xbf", 3),
              "\xef\xbb\xbf"
              "1\n");
}

TEST(EditedText, KeepsAMissingLastLineEnd) {
    EXPECT_EQ(WithLines("a", 1), "a\n1");
    EXPECT_EQ(WithLines("a\nb", 3, 3), "a\nb\n1\n2\n3");
    EXPECT_EQ(WithLines("a\r\nb", 4, 2), "a\r\nb\r\n1\r\n2");
    EXPECT_EQ(WithLines("\xef\xbb\xbf"
                        "a",
                        4),
              "\xef\xbb\xbf"
              "a\n1");
}

TEST(EditedText, ReplacesTheLastLineAndAddsAfterIt) {
    EditedText text("a\nb");
    text.AddLine(3, 0, "c");
    text.SetLine(2, "B");
    EXPECT_EQ(Joined(text), "a\nB\nc");
}

TEST(EditedText, SetsAddedLinesToo) {
    EditedText text("a\n");
    const EditedText::Place first = text.AddLine(2, 0, "b");
    const EditedText::Place second = text.AddLine(2, 0, "c");
    text.SetLine(first, "B");
    text.SetLine(first, "BB");
    EXPECT_EQ(text.Line(first), "BB");
    EXPECT_EQ(text.Line(second), "c");
    EXPECT_EQ(Joined(text), "a\nBB\nc\n");
}

TEST(EditedText, OrdersLinesOfOneOffsetByRankAndThenByTime) {
    EditedText text("a\n");
    text.AddLine(2, 2, "2 first");
    text.AddLine(2, 0, "0 first");
    text.AddLine(2, 2, "2 second");
    text.AddLine(2, 1, "1 first");
    text.AddLine(0, 9, "before");
    text.AddLine(2, 0, "0 second");
    EXPECT_EQ(Joined(text), "before\na\n0 first\n0 second\n1 first\n2 first\n2 second\n");
}
