// What a line of an INI file is, and its parts.
#include <gtest/gtest.h>
#include <string>

#include "corekit/ini/detail/IniLine.h"

using corekit::IniLine;
using corekit::ParseIniLine;
using Kind = corekit::IniLine::Kind;

namespace {

struct Row {
    std::string_view line;
    std::string_view name;
    std::string_view value = {};
};

}  // namespace

TEST(IniLine, KnowsSections) {
    constexpr Row rows[] = {
        {"[a]", "a"},        {"[Client Transport]", "Client Transport"},
        {" \t[a] \t", "a"},  {"[ a\t]", "a"},
        {"[a] behind", "a"}, {"[a]=b", "a"},
        {"[a]]", "a"},       {"[a]\r", "a"},
        {"[a=b]", "a=b"},    {"[;a]", ";a"},
        {"[]", ""},          {"[ ]", ""},
        {"[[a]", "[a"},      {"[\xe4\xc3\xb6]", "\xe4\xc3\xb6"},
    };
    for (const Row& row : rows) {
        const IniLine line = ParseIniLine(row.line);
        EXPECT_EQ(line.kind, Kind::Section) << row.line;
        EXPECT_EQ(line.name, row.name) << row.line;
    }
}

TEST(IniLine, KnowsEntries) {
    constexpr Row rows[] = {
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
        {"\xe4=\xff", "\xe4", "\xff"},
        {{"a\0b=c\0d", 7}, {"a\0b", 3}, {"c\0d", 3}},
    };
    for (const Row& row : rows) {
        const IniLine line = ParseIniLine(row.line);
        EXPECT_EQ(line.kind, Kind::Entry) << row.line;
        EXPECT_EQ(line.name, row.name) << row.line;
        EXPECT_EQ(line.value, row.value) << row.line;
    }
}

TEST(IniLine, LeavesTheRestAlone) {
    for (const std::string_view text : {"", " ", "\r", "\t\r", "#", "# a=b", " ;a=b", ";", "#[a]", "=",
                                        " = b", "a", "no equals sign", "[", "[a", "[a=b", " [a = b"}) {
        const IniLine line = ParseIniLine(text);
        EXPECT_EQ(line.kind, Kind::Other) << text;
        EXPECT_EQ(line.name, "") << text;
        EXPECT_EQ(line.value, "") << text;
    }
}

TEST(IniLine, PutsAnEmptyValueBehindItsBlanks) {
    for (const std::string_view text : {"a=  \t", "a=  \t\r"}) {
        const IniLine line = ParseIniLine(text);
        EXPECT_EQ(line.value, "");
        EXPECT_EQ(line.value.data() - text.data(), 5);
    }
}
