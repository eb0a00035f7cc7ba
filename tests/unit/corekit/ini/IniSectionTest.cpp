// The entries in the parts of a section, and where one is added.
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "corekit/ini/detail/IniSection.h"

using corekit::EditedText;
using corekit::IniIndex;
using corekit::IniSection;
using Match = corekit::IniIndex::Match;
using Places = std::vector<EditedText::Place>;

namespace {

std::string Joined(const EditedText& text) {
    std::string joined;
    for (const std::string_view piece : text.Pieces()) joined += piece;
    return joined;
}

}  // namespace

TEST(IniSection, HasTheEntriesOfItsPartsOnly) {
    EditedText text("a=1\nb=2\n# c=3\njunk\nd=4\ne=5");
    IniSection section(text, 0);
    section.AddPart(4, 19, 4);
    section.AddPart(23, 26, 23);
    EXPECT_EQ(section.Entries(), (Places{4, 23}));
    EXPECT_EQ(section.Find("b", Match::Exact), 4U);
    EXPECT_EQ(section.Find("E", Match::ElseAnyCase), 23U);
    for (const std::string_view key : {"a", "# c", "c", "d", "B", ""}) {
        EXPECT_EQ(section.Find(key, Match::Exact), IniIndex::kNone) << key;
    }
}

TEST(IniSection, AddsBehindItsLastEntry) {
    EditedText text("a=1\n\nb=2\n\nc=3\n");
    IniSection section(text, 0);
    section.AddPart(0, 10, 0);
    section.AddEntry("k", "v");
    section.AddEntry("l", "");
    EXPECT_EQ(Joined(text), "a=1\n\nb=2\nk=v\nl=\n\nc=3\n");
    EXPECT_EQ(text.Line(section.Find("k", Match::Exact)), "k=v");
    EXPECT_EQ(section.Entries().size(), 4U);
}

TEST(IniSection, AddsItsFirstEntryWhereItIsTold) {
    EditedText text("\n#\n\n#\n");
    IniSection section(text, 0);
    section.AddPart(0, 1, 0);
    section.AddPart(3, 6, 4);
    section.AddEntry("k", "v");
    EXPECT_EQ(Joined(text), "\n#\n\nk=v\n#\n");
}

TEST(IniSection, AddsInTheOrderOfRanks) {
    EditedText text("a=1\n");
    IniSection second(text, 2);
    IniSection first(text, 1);
    second.AddPart(4, 4, 4);
    first.AddPart(4, 4, 4);
    second.AddEntry("k", "second");
    first.AddEntry("k", "first");
    second.AddEntry("l", "second");
    EXPECT_EQ(Joined(text), "a=1\nk=first\nk=second\nl=second\n");
}
