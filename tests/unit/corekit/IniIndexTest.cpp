// Entries filed by section and key, and found again.
#include <algorithm>
#include <gtest/gtest.h>
#include <string>

#include "corekit/IniIndex.h"
#include "corekit/IniLine.h"

using corekit::EditedText;
using corekit::IniIndex;
using Match = corekit::IniIndex::Match;

namespace {

/// Files every line of the text as an entry of section 1.
void FileAll(const EditedText& text, IniIndex& index) {
    for (std::size_t place = 0; place < text.Original().size(); place += text.Line(place).size() + 1) {
        index.Add(1, corekit::ParseIniLine(text.Line(place)).name, place);
    }
}

struct Filed {
    explicit Filed(const std::string& original) : text(original), index(text) { FileAll(text, index); }
    EditedText text;
    IniIndex index;
};

}  // namespace

TEST(IniIndex, FindsKeysOfEveryLength) {
    std::string original;
    for (std::size_t length = 1; length <= 40; ++length) original += std::string(length, 'k') + "=v\n";
    const Filed filed(original);
    std::size_t place = 0;
    for (std::size_t length = 1; length <= 40; place += length + 3, ++length) {
        EXPECT_EQ(filed.index.Find(1, std::string(length, 'k'), Match::Exact), place) << length;
        EXPECT_EQ(filed.index.Find(1, std::string(length, 'K'), Match::ElseAnyCase), place) << length;
        EXPECT_EQ(filed.index.Find(1, std::string(length, 'K'), Match::Exact), IniIndex::kNone) << length;
    }
    EXPECT_EQ(filed.index.Find(1, "", Match::ElseAnyCase), IniIndex::kNone);
}

TEST(IniIndex, TellsSectionsApart) {
    const EditedText text("k=1\nk=2\n");
    IniIndex index(text);
    index.Add(0, "k", 0);
    index.Add(7, "k", 4);
    EXPECT_EQ(index.Find(0, "k", Match::Exact), 0U);
    EXPECT_EQ(index.Find(7, "k", Match::Exact), 4U);
    EXPECT_EQ(index.Find(1, "k", Match::ElseAnyCase), IniIndex::kNone);
    EXPECT_EQ(index.Entries(7), std::vector<EditedText::Place>{4});
    EXPECT_TRUE(index.Entries(1).empty());
}

TEST(IniIndex, FindsTheFirstOfSameKeys) {
    const Filed filed("k=1\nk=2\nk=3\n");
    EXPECT_EQ(filed.index.Find(1, "k", Match::Exact), 0U);
    EXPECT_EQ(filed.index.Entries(1), (std::vector<EditedText::Place>{0, 4, 8}));
}

TEST(IniIndex, PrefersTheExactKeyAndThenTheFirstOfAnyCase) {
    const Filed filed("KEY=1\nkEy=2\nkey=3\n");
    EXPECT_EQ(filed.index.Find(1, "key", Match::ElseAnyCase), 12U);
    EXPECT_EQ(filed.index.Find(1, "kEy", Match::ElseAnyCase), 6U);
    EXPECT_EQ(filed.index.Find(1, "keY", Match::ElseAnyCase), 0U);
    EXPECT_EQ(filed.index.Find(1, "keY", Match::Exact), IniIndex::kNone);
}

TEST(IniIndex, FoldsTheCaseOfAsciiLettersOnly) {
    const Filed filed("x[\xc3\x84@=1\n");
    EXPECT_EQ(filed.index.Find(1, "x{\xc3\xa4`", Match::ElseAnyCase), IniIndex::kNone);
    EXPECT_EQ(filed.index.Find(1, "x[\xc3\x84`", Match::ElseAnyCase), IniIndex::kNone);
}

TEST(IniIndex, FindsEveryOneOfManyInEveryBunch) {
    std::string original;
    for (int i = 0; i < 200000; ++i) original += "key" + std::to_string(i) + "=value\n";
    const Filed filed(original);
    const std::vector<EditedText::Place> places = filed.index.Entries(1);
    ASSERT_EQ(places.size(), 200000U);
    EXPECT_TRUE(std::ranges::is_sorted(places));
    for (std::size_t i = 0; i < places.size(); i += 97) {
        ASSERT_EQ(filed.index.Find(1, "KEY" + std::to_string(i), Match::ElseAnyCase), places[i]);
    }
    EXPECT_EQ(filed.index.Find(1, "key200000", Match::ElseAnyCase), IniIndex::kNone);
}
