// How columns, lists and modes stand in a report, to the blank.
#include <gtest/gtest.h>

#include "preview/Layout.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

TEST(Shown, EscapesWhatWouldSteerATerminal_AndNothingElse) {
    EXPECT_EQ(Shown("/opt/\033[31ma\nb"), "/opt/\\x1b[31ma\\x0ab");
    EXPECT_EQ(Shown("\u00E4\u20AC\t\\x \xff"), "\u00E4\u20AC\t\\x \xff");
}

TEST(Padded, EndsInBlanks_AsFarAsItIsNarrower) {
    constexpr struct {
        const char* text;
        std::size_t width;
        const char* padded;
    } kRows[] = {{"", 0, ""},         {"", 2, "  "},         {"ab", 4, "ab  "},
                 {"abcd", 4, "abcd"}, {"abcde", 4, "abcde"}, {"\u00E4\u20AC", 4, "\u00E4\u20AC  "}};
    for (const auto& row : kRows) EXPECT_EQ(Padded(row.text, row.width), row.padded) << row.text;
}

TEST(InColumns, IsNothing_WithoutRows) {
    EXPECT_EQ(InColumns({}), "");
}

TEST(InColumns, AlignsWhatStandsBelowEachOther) {
    EXPECT_EQ(InColumns({{"KSName", "kell.example", "variable X"}, {"Log", "", "a.xml:4"}}),
              "  KSName  kell.example  variable X\n"
              "  Log                   a.xml:4\n");
}

TEST(InColumns, CountsCharacters_NotBytes) {
    EXPECT_EQ(InColumns({{"\u00E4\u20AC", "\u00FC", "one"}, {"abc", "de", "two"}}),
              "  \u00E4\u20AC   \u00FC   one\n"
              "  abc  de  two\n");
}

TEST(InColumns, EndsWithTheValue_WhereThereIsNoSource) {
    EXPECT_EQ(InColumns({{"a", "1", ""}, {"b", "long", "source"}}), "  a  1\n  b  long  source\n");
}

TEST(InColumns, NotesStandBelowTheValueOnLinesOfTheirOwn) {
    EXPECT_EQ(InColumns({{"Name", "1", "one", {"not used: 2", "not used: 3"}}, {"b", "2", "two"}}),
              "  Name  1  one\n"
              "        not used: 2\n"
              "        not used: 3\n"
              "  b     2  two\n");
}

TEST(InColumns, OnlyALongValueGoesBeyondItsColumn) {
    const std::string widest(44, 'x');
    const std::string longer(45, 'y');
    EXPECT_EQ(InColumns({{"a", widest, "one"}, {"b", "2", "two"}}),
              "  a  " + widest + "  one\n  b  2" + std::string(43, ' ') + "  two\n");
    EXPECT_EQ(InColumns({{"a", longer, "one"}, {"b", "2", "two"}}),
              "  a  " + longer + "  one\n  b  2" + std::string(43, ' ') + "  two\n");
    const std::string name(60, 'n');
    EXPECT_EQ(InColumns({{name, "1", "one"}, {"b", "2", "two"}}),
              "  " + name + "  1  one\n  b" + std::string(59, ' ') + "  2  two\n");
}

TEST(InLines, HasCommasBetweenTheItems) {
    EXPECT_EQ(InLines("  by default:", {"a 1", "b 2", "c 3"}), "  by default: a 1, b 2, c 3\n");
    EXPECT_EQ(InLines("  by default:", {"a 1"}), "  by default: a 1\n");
    EXPECT_EQ(InLines("  by default:", {"a", "a"}), "  by default: a, a\n");
    EXPECT_EQ(InLines("  by default:", {}), "  by default:\n");
}

TEST(InLines, GoesOnInAnother_WhereALineWouldBeLongerThanAHundredCharacters) {
    const auto broken = [](const std::string& first) { return InLines("by:", {first, "b", "c"}); };
    const std::string fits(92, 'x');
    EXPECT_EQ(broken(fits), "by: " + fits + ", b,\n    c\n");
    EXPECT_EQ(broken(fits + "x"), "by: " + fits + "x,\n    b, c\n");
    std::string wide;
    for (int i = 0; i < 92; ++i) wide += "\u00E4";
    EXPECT_EQ(broken(wide), "by: " + wide + ", b,\n    c\n") << "of two bytes each";
}

TEST(InLines, AnItemThatIsTooLongHasALineOfItsOwn) {
    const std::string item(100, 'x');
    EXPECT_EQ(InLines("by:", {item, "b"}), "by:\n    " + item + ",\n    b\n");
}

TEST(InLines, ALineThatIsNotTheFirstHasAsMuchRoom) {
    const std::string item(60, 'x');
    const std::string fits(33, 'y');
    EXPECT_EQ(InLines("by:", {item, item, fits, "c"}),
              "by: " + item + ",\n    " + item + ", " + fits + ",\n    c\n");
    EXPECT_EQ(InLines("by:", {item, item, fits + "y", "c"}),
              "by: " + item + ",\n    " + item + ",\n    " + fits + "y, c\n");
}

TEST(ModeText, IsAsLsShowsIt) {
    constexpr struct {
        const char* type;
        const char* octal;
        const char* shown;
    } kRows[] = {
        {"file", "0755", "-rwxr-xr-x"},      {"file", "0640", "-rw-r-----"},
        {"file", "0421", "-r---w---x"},      {"file", "0000", "----------"},
        {"directory", "0750", "drwxr-x---"}, {"link", "0777", "lrwxrwxrwx"},
        {"other", "0600", "-rw-------"},     {"file", "4755", "-rwsr-xr-x"},
        {"file", "4644", "-rwSr--r--"},      {"file", "2755", "-rwxr-sr-x"},
        {"file", "2644", "-rw-r-Sr--"},      {"directory", "1777", "drwxrwxrwt"},
        {"file", "1666", "-rw-rw-rwT"},      {"directory", "7000", "d--S--S--T"},
        {"directory", "7777", "drwsrwsrwt"},
    };
    for (const auto& row : kRows) EXPECT_EQ(ModeText(row.type, row.octal), row.shown) << row.octal;
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
