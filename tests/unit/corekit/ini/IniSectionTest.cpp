// Sections of an INI file's text: their entries are found and added.
#include <algorithm>
#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "corekit/ini/detail/IniText.h"

using corekit::EditedText;
using corekit::IniFile;
using corekit::IniSection;

namespace {

constexpr IniFile::KeyCase kExact = IniFile::KeyCase::Exact;
constexpr IniFile::KeyCase kAnyCase = IniFile::KeyCase::FallBack;

/// A text that is one section.
struct WholeSection {
    explicit WholeSection(const std::string& original) : text(original), section(text, 0) {
        section.AddPart(0, original.size(), 0);
    }
    EditedText text;
    IniSection section;
};

using Places = std::vector<EditedText::Place>;

std::string Joined(const EditedText& text) {
    std::string joined;
    for (const std::string_view piece : text.Pieces()) joined += piece;
    return joined;
}

}  // namespace

TEST(IniSection, FindsKeysOfEveryLength) {
    std::string original;
    for (std::size_t length = 1; length <= 40; ++length) original += std::string(length, 'k') + "=v\n";
    WholeSection whole(original);
    std::size_t place = 0;
    for (std::size_t length = 1; length <= 40; place += length + 3, ++length) {
        EXPECT_EQ(whole.section.Find(std::string(length, 'k'), kExact), place) << length;
        EXPECT_EQ(whole.section.Find(std::string(length, 'K'), kAnyCase), place) << length;
        EXPECT_EQ(whole.section.Find(std::string(length, 'K'), kExact), IniSection::kNone) << length;
    }
    EXPECT_EQ(whole.section.Find("", kAnyCase), IniSection::kNone);
}

TEST(IniSection, FindsTheFirstOfSameKeys) {
    WholeSection whole("k=1\nk=2\nk=3\n");
    EXPECT_EQ(whole.section.Find("k", kExact), 0U);
    EXPECT_EQ(whole.section.Entries(), (Places{0, 4, 8}));
}

TEST(IniSection, PrefersTheExactKeyAndThenTheFirstOfAnyCase) {
    WholeSection whole("KEY=1\nkEy=2\nkey=3\n");
    EXPECT_EQ(whole.section.Find("key", kAnyCase), 12U);
    EXPECT_EQ(whole.section.Find("kEy", kAnyCase), 6U);
    EXPECT_EQ(whole.section.Find("keY", kAnyCase), 0U);
    EXPECT_EQ(whole.section.Find("keY", kExact), IniSection::kNone);
}

TEST(IniSection, FoldsTheCaseOfAsciiLettersOnly) {
    WholeSection whole("x[\xc3\x84@=1\n");
    EXPECT_EQ(whole.section.Find("x{\xc3\xa4`", kAnyCase), IniSection::kNone);
    EXPECT_EQ(whole.section.Find("x[\xc3\x84`", kAnyCase), IniSection::kNone);
}

TEST(IniSection, FindsEachOfTwoHundredThousandEntries) {
    std::string original;
    for (int i = 0; i < 200000; ++i) original += "key" + std::to_string(i) + "=value\n";
    WholeSection whole(original);
    const Places places = whole.section.Entries();
    ASSERT_EQ(places.size(), 200000U);
    EXPECT_TRUE(std::ranges::is_sorted(places));
    for (std::size_t i = 0; i < places.size(); i += 97) {
        ASSERT_EQ(whole.section.Find("KEY" + std::to_string(i), kAnyCase), places[i]);
    }
    EXPECT_EQ(whole.section.Find("key200000", kAnyCase), IniSection::kNone);
}

TEST(IniSection, HasTheEntriesOfItsPartsOnly) {
    EditedText text("a=1\nb=2\n# c=3\njunk\nd=4\ne=5");
    IniSection section(text, 0);
    section.AddPart(4, 19, 4);
    section.AddPart(23, 26, 23);
    EXPECT_EQ(section.Entries(), (Places{4, 23}));
    EXPECT_EQ(section.Find("b", kExact), 4U);
    EXPECT_EQ(section.Find("E", kAnyCase), 23U);
    for (const std::string_view key : {"a", "# c", "c", "d", "B", ""}) {
        EXPECT_EQ(section.Find(key, kExact), IniSection::kNone) << key;
    }
}

TEST(IniSection, AddsAfterItsLastEntry) {
    EditedText text("a=1\n\nb=2\n\nc=3\n");
    IniSection section(text, 0);
    section.AddPart(0, 10, 0);
    section.AddEntry("k", "v");
    section.AddEntry("l", "");
    EXPECT_EQ(Joined(text), "a=1\n\nb=2\nk=v\nl=\n\nc=3\n");
    EXPECT_EQ(text.Line(section.Find("k", kExact)), "k=v");
    EXPECT_EQ(section.Entries().size(), 4U);
}

TEST(IniSection, AddsItsFirstEntryAfterItsHeader) {
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
