// What is read from and set in an INI file's text: what changes, and that nothing else does.
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "corekit/ini/detail/IniText.h"

using corekit::IniFile;
using corekit::IniLine;
using corekit::IniText;

namespace {

constexpr IniFile::KeyCase kExact = IniFile::KeyCase::Exact;
constexpr IniFile::KeyCase kAnyCase = IniFile::KeyCase::FallBack;

std::string Text(const IniText& lines) {
    std::string text;
    for (const std::string_view piece : lines.Pieces()) text += piece;
    return text;
}

std::string Value(IniText& lines, std::string_view section, std::string_view key) {
    return std::string(lines.Get(section, key).value_or("(none)"));
}

std::string ValueIn(const std::string& text, std::string_view section, std::string_view key,
                    IniFile::KeyCase keyCase = kExact) {
    IniText lines(text, keyCase);
    return Value(lines, section, key);
}

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs EntriesIn(const std::string& text, std::string_view section) {
    IniText lines(text, kExact);
    Pairs pairs;
    for (const IniLine& entry : lines.Entries(section)) pairs.emplace_back(entry.name, entry.value);
    return pairs;
}

/// The text after key `k` of section `s` was set to "new".
std::string WithKey(const std::string& text) {
    IniText lines(text, kExact);
    lines.Set("s", "k", "new");
    EXPECT_EQ(Value(lines, "s", "k"), "new");
    return Text(lines);
}

struct Row {
    std::string before;
    std::string after;
};

}  // namespace

TEST(IniText, ReadsValues) {
    const std::string text = "top=0\n[s]\n# k=comment\n;k=comment\nk = a=b \n[t u]\nk=c\n";
    EXPECT_EQ(ValueIn(text, "", "top"), "0");
    EXPECT_EQ(ValueIn(text, "s", "k"), "a=b");
    EXPECT_EQ(ValueIn(text, "t u", "k"), "c");
    EXPECT_EQ(ValueIn(text, "s", "top"), "(none)");
    EXPECT_EQ(ValueIn(text, "", "k"), "(none)");
    EXPECT_EQ(ValueIn(text, "missing", "k"), "(none)");
    EXPECT_EQ(ValueIn(text, "s", "# k"), "(none)");
    EXPECT_EQ(ValueIn(text, "s", ""), "(none)");
    EXPECT_EQ(ValueIn("", "s", "k"), "(none)");
}

TEST(IniText, ReadsTheFirstOfTwoSameKeys) {
    EXPECT_EQ(ValueIn("[s]\nk=1\nk=2\n", "s", "k"), "1");
    EXPECT_EQ(ValueIn("[s]\nk=1\n[t]\n[s]\nk=2\n", "s", "k"), "1");
}

TEST(IniText, TakesSectionsOfTheSameNameAsOne) {
    const std::string text = "[s]\na=1\n[t]\nx=9\n[s]\nb=2\n";
    EXPECT_EQ(ValueIn(text, "s", "b"), "2");
    EXPECT_EQ(EntriesIn(text, "s"), (Pairs{{"a", "1"}, {"b", "2"}}));
}

TEST(IniText, DistinguishesNamesByTheirCase) {
    const std::string text = "[S]\nK=1\n";
    EXPECT_EQ(ValueIn(text, "S", "k"), "(none)");
    EXPECT_EQ(ValueIn(text, "s", "K"), "(none)");
    EXPECT_EQ(ValueIn(text, "s", "K", kAnyCase), "(none)");
    EXPECT_EQ(ValueIn(text, "S", "k", kAnyCase), "1");
}

TEST(IniText, FallsBackToAnyCaseOnlyWithoutTheExactKey) {
    const std::string text = "[s]\nKey=1\nKEY=2\nkey=3\n";
    EXPECT_EQ(ValueIn(text, "s", "key", kAnyCase), "3");
    EXPECT_EQ(ValueIn(text, "s", "KEY", kAnyCase), "2");
    EXPECT_EQ(ValueIn(text, "s", "kEY", kAnyCase), "1");
}

TEST(IniText, ListsEntriesInOrder) {
    EXPECT_EQ(EntriesIn("a=0\n[s]\nb=1\njunk\na=\nb=3\n[t]\nc=4\n", "s"),
              (Pairs{{"b", "1"}, {"a", ""}, {"b", "3"}}));
    EXPECT_EQ(EntriesIn("a=0\n[s]\nb=1\n", ""), (Pairs{{"a", "0"}}));
    EXPECT_EQ(EntriesIn("a=0\n[s]\nb=1\n", "t"), Pairs());
}

TEST(IniText, TakesABrokenHeaderAsJunk) {
    const std::string text = "[s]\n[broken\nk=1\n";
    EXPECT_EQ(ValueIn(text, "s", "k"), "1");
    EXPECT_EQ(WithKey(text), "[s]\n[broken\nk=new\n");
}

TEST(IniText, TakesOnlyABracketAtTheBeginOfALineForAHeader) {
    const std::string text = "x=[s]\n[s] [t] [\n \t[ u ]\r\n\r[v]\n a [w]\n[x\n[y]";
    EXPECT_EQ(EntriesIn(text, ""), (Pairs{{"x", "[s]"}}));
    for (const std::string_view section : {"s", "u", "v", "y"}) {
        IniText lines(text, kExact);
        lines.Set(section, "k", "1");
        EXPECT_EQ(Text(lines).size(), text.size() + (section == "u" ? 5 : 4)) << section;
    }
    for (const std::string_view section : {"t", "w", "x"}) {
        IniText lines(text, kExact);
        lines.Set(section, "k", "1");
        EXPECT_EQ(Text(lines), text + "\n[" + std::string(section) + "]\nk=1");
    }
}

TEST(IniText, DoesNotTakeAByteOrderMarkForPartOfAName) {
    EXPECT_EQ(ValueIn("\xef\xbb\xbf[s]\nk=1\n", "s", "k"), "1");
    EXPECT_EQ(ValueIn("\xef\xbb\xbfk=1\n", "", "k"), "1");
    EXPECT_EQ(WithKey("\xef\xbb\xbf[s]\r\nk=1\r\n"), "\xef\xbb\xbf[s]\r\nk=new\r\n");
}

TEST(IniText, ReplacesTheValueOnly) {
    const Row rows[] = {
        {"[s]\nk=old\n", "[s]\nk=new\n"},
        {"[s]\nk=old", "[s]\nk=new"},
        {"[s]\nk=\n", "[s]\nk=new\n"},
        {"[s]\nk=", "[s]\nk=new"},
        {"[s]\n\t k \t= \told value\n", "[s]\n\t k \t= \tnew\n"},
        {"[s]\nk = \n", "[s]\nk = new\n"},
        {"[s]\r\nk=old\r\nx=1\r\n", "[s]\r\nk=new\r\nx=1\r\n"},
        {"[s]\r\nk=\r\n", "[s]\r\nk=new\r\n"},
        {"[s]\nk=old\r\nx=1\n", "[s]\nk=new\r\nx=1\n"},
        {"[s]\nk=1\nk=2\n", "[s]\nk=new\nk=2\n"},
        {"[s]\nK=1\nk=2\n", "[s]\nK=1\nk=new\n"},
        {"k=0\n[t]\nk=1\n[s]\nk=2\n", "k=0\n[t]\nk=1\n[s]\nk=new\n"},
        {"# k=0\n\n[s] ; x\n;k=1\n\xe4\xff\nk=2\n\n# end",
         "# k=0\n\n[s] ; x\n;k=1\n\xe4\xff\nk=new\n\n# end"},
    };
    for (const Row& row : rows) EXPECT_EQ(WithKey(row.before), row.after);
}

TEST(IniText, AddsAKeyAfterTheLastEntryOfItsSection) {
    const Row rows[] = {
        {"[s]\na=1\n", "[s]\na=1\nk=new\n"},
        {"[s]\na=1", "[s]\na=1\nk=new"},
        {"[s]\r\na=1\r\n", "[s]\r\na=1\r\nk=new\r\n"},
        {"[s]\na=1\n\n# about t\n[t]\nb=2\n", "[s]\na=1\nk=new\n\n# about t\n[t]\nb=2\n"},
        {"[s]\na=1\nb=2\njunk\n", "[s]\na=1\nb=2\nk=new\njunk\n"},
        {"[s]\na=1\na=2\n#\n", "[s]\na=1\na=2\nk=new\n#\n"},
    };
    for (const Row& row : rows) EXPECT_EQ(WithKey(row.before), row.after);
}

TEST(IniText, AddsAKeyAfterTheHeaderOfASectionWithoutEntries) {
    const Row rows[] = {
        {"[s]\n", "[s]\nk=new\n"},
        {"[s]", "[s]\nk=new"},
        {"[s]\n\n# comment\n[t]\na=1\n", "[s]\nk=new\n\n# comment\n[t]\na=1\n"},
        {"[s]\r\n[t]\n", "[s]\r\nk=new\r\n[t]\n"},
    };
    for (const Row& row : rows) EXPECT_EQ(WithKey(row.before), row.after);
}

TEST(IniText, AddsAKeyToTheLastPartOfASectionThatHasEntries) {
    const Row rows[] = {
        {"[s]\na=1\n[t]\n[s]\nb=2\n[t]\n", "[s]\na=1\n[t]\n[s]\nb=2\nk=new\n[t]\n"},
        {"[s]\na=1\n[t]\n[s]\n# none\n", "[s]\na=1\nk=new\n[t]\n[s]\n# none\n"},
        {"[s]\n[t]\n[s]\n#\n[t]\n", "[s]\n[t]\n[s]\nk=new\n#\n[t]\n"},
    };
    for (const Row& row : rows) EXPECT_EQ(WithKey(row.before), row.after);
}

TEST(IniText, AddsASectionAtTheEnd) {
    const Row rows[] = {
        {"", "[s]\nk=new\n"},
        {"\xef\xbb\xbf", "\xef\xbb\xbf[s]\nk=new\n"},
        {"[t]\na=1\n", "[t]\na=1\n[s]\nk=new\n"},
        {"[t]\na=1", "[t]\na=1\n[s]\nk=new"},
        {"[t]\r\na=1\r\n", "[t]\r\na=1\r\n[s]\r\nk=new\r\n"},
        {"[t]\r\na=1", "[t]\r\na=1\r\n[s]\r\nk=new"},
        {"[S]\nk=1\n\n# end\n", "[S]\nk=1\n\n# end\n[s]\nk=new\n"},
    };
    for (const Row& row : rows) EXPECT_EQ(WithKey(row.before), row.after);
}

TEST(IniText, AddsAKeyWithoutASectionBeforeTheFirst) {
    const Row rows[] = {
        {"", "k=v\n"},
        {"# comment", "# comment\nk=v"},
        {"# comment\n[s]\na=1\n", "# comment\nk=v\n[s]\na=1\n"},
        {"[s]\r\na=1\r\n[t]\r\n", "k=v\r\n[s]\r\na=1\r\n[t]\r\n"},
        {"\xef\xbb\xbf[s]\n", "\xef\xbb\xbfk=v\n[s]\n"},
        {"x=1\n\n# about s\n[s]\na=1\n", "x=1\nk=v\n\n# about s\n[s]\na=1\n"},
    };
    for (const Row& row : rows) {
        IniText lines(row.before, kExact);
        lines.Set("", "k", "v");
        EXPECT_EQ(Text(lines), row.after);
        EXPECT_EQ(Value(lines, "", "k"), "v");
    }
}

TEST(IniText, AddsNoKeyThatWouldBeMisreadAsAByteOrderMark) {
    IniText lines("[s]\n", kExact);
    lines.Set("", "\xef\xbb\xbfk", "v");
    EXPECT_EQ(Text(lines), "[s]\n");
    lines.Set("s", "\xef\xbb\xbfk", "v");
    EXPECT_EQ(Text(lines), "[s]\n\xef\xbb\xbfk=v\n");
}

TEST(IniText, KeepsWhatIsAddedInOrderAndTogether) {
    IniText lines("[a]\nx=1", kExact);
    lines.Set("new", "k1", "1");
    lines.Set("other", "k1", "2");
    lines.Set("a", "y", "3");
    lines.Set("new", "k2", "4");
    lines.Set("a", "z", "5");
    EXPECT_EQ(Text(lines), "[a]\nx=1\ny=3\nz=5\n[new]\nk1=1\nk2=4\n[other]\nk1=2");
}

TEST(IniText, SetsAgainWhatWasSet) {
    IniText lines("[s]\nold=1\n", kExact);
    for (const std::string value :
         {"a", "a much longer value than before, longer than any small buffer", "", "b"}) {
        lines.Set("s", "old", value);
        lines.Set("s", "added", value);
        lines.Set("t", "added", value);
        EXPECT_EQ(Value(lines, "s", "old"), value);
        EXPECT_EQ(Value(lines, "s", "added"), value);
        EXPECT_EQ(Value(lines, "t", "added"), value);
    }
    EXPECT_EQ(Text(lines), "[s]\nold=b\nadded=b\n[t]\nadded=b\n");
}

TEST(IniText, SetsTheEntryThatItFindsInAnyCase) {
    IniText lines("[s]\nKey=1\n", kAnyCase);
    lines.Set("s", "key", "2");
    EXPECT_EQ(Text(lines), "[s]\nKey=2\n");
}

TEST(IniText, SetsAValueFromItsOwnText) {
    IniText lines("[s]\nk=value\n", kExact);
    for (int i = 0; i < 3; ++i) {
        const auto value = lines.Get("s", "k");
        ASSERT_TRUE(value);
        lines.Set("s", "k", *value);
        lines.Set("s", "copy", *value);
    }
    EXPECT_EQ(Text(lines), "[s]\nk=value\ncopy=value\n");
}

TEST(IniText, MakesBlanksOfLineEnds) {
    IniText lines("[s]\nk=1\n", kExact);
    lines.Set("s", "k", "a\nb=2\r\n[t]");
    lines.Set("s", "n\nm=", "left out");
    lines.Set("s", "n\nm", std::string_view("x\0y\r", 4));
    lines.Set("u\r\nv", "k", "\nz");
    EXPECT_EQ(Text(lines), "[s]\nk=a b=2  [t]\nn m=x y\n[u  v]\nk=z\n");
    EXPECT_EQ(Value(lines, "s", "k"), "a b=2  [t]");
    EXPECT_EQ(Value(lines, "s", "n\nm"), "x y");
    EXPECT_EQ(Value(lines, "u\r\nv", "k"), "z");
}

TEST(IniText, TrimsValuesThatAreSet) {
    IniText lines("[s]\nk = old\n", kExact);
    for (int time = 0; time < 2; ++time) {
        lines.Set("s", "k", " new\n");
        lines.Set("s", "added", "\tx ");
        EXPECT_EQ(Text(lines), "[s]\nk = new\nadded=x\n");
    }
}

TEST(IniText, TrimsNames) {
    IniText lines("[s]\nk=1\n", kExact);
    lines.Set(" s\t", " k ", "2");
    lines.Set(" t ", " n ", "3");
    EXPECT_EQ(Text(lines), "[s]\nk=2\n[t]\nn=3\n");
    EXPECT_EQ(Value(lines, "\ts", "k "), "2");
    EXPECT_EQ(lines.Entries(" t ").size(), 1U);
}

TEST(IniText, IgnoresEntriesThatNoLineCanHold) {
    IniText lines("[s]\nk=1\n", kExact);
    for (const std::string_view key : {"", " ", "a=b", "=", "[a]", "[a", "#a", ";a", " #a"}) {
        lines.Set("s", key, "v");
        lines.Set("", key, "v");
        lines.Set("new", key, "v");
    }
    lines.Set("a]b", "k", "v");
    lines.Set("]", "k", "v");
    EXPECT_EQ(Text(lines), "[s]\nk=1\n");
}

TEST(IniText, TakesAnyBytes) {
    std::string bytes;
    for (int i = 0; i < 4096; ++i) bytes += static_cast<char>(i * 37 % 256);
    EXPECT_EQ(Text(IniText(bytes, kExact)), bytes);
    const std::string after = WithKey(bytes);
    EXPECT_TRUE(after.starts_with(bytes));
    EXPECT_EQ(after.substr(bytes.size()), bytes.ends_with('\n') ? "[s]\nk=new\n" : "\n[s]\nk=new");
}
