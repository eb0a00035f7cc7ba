// Entries filed by key, and found again.
#include <algorithm>
#include <gtest/gtest.h>
#include <string>

#include "corekit/ini/detail/IniIndex.h"
#include "corekit/ini/detail/IniLine.h"

using corekit::EditedText;
using corekit::IniIndex;
using Match = corekit::IniIndex::Match;

namespace {

/// Files every line of the text as an entry.
void FileAll(const EditedText& text, IniIndex& index) {
    for (std::size_t place = 0; place < text.Original().size(); place += text.Line(place).size() + 1) {
        index.Add(corekit::ParseIniLine(text.Line(place)).name, place);
    }
}

struct Filed {
    explicit Filed(const std::string& original) : text(original), index(text, original.size()) {
        FileAll(text, index);
    }
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
        EXPECT_EQ(filed.index.Find(std::string(length, 'k'), Match::Exact), place) << length;
        EXPECT_EQ(filed.index.Find(std::string(length, 'K'), Match::ElseAnyCase), place) << length;
        EXPECT_EQ(filed.index.Find(std::string(length, 'K'), Match::Exact), IniIndex::kNone) << length;
    }
    EXPECT_EQ(filed.index.Find("", Match::ElseAnyCase), IniIndex::kNone);
}

TEST(IniIndex, FindsTheFirstOfSameKeys) {
    const Filed filed("k=1\nk=2\nk=3\n");
    EXPECT_EQ(filed.index.Find("k", Match::Exact), 0U);
    EXPECT_EQ(filed.index.Entries(), (std::vector<EditedText::Place>{0, 4, 8}));
}

TEST(IniIndex, PrefersTheExactKeyAndThenTheFirstOfAnyCase) {
    const Filed filed("KEY=1\nkEy=2\nkey=3\n");
    EXPECT_EQ(filed.index.Find("key", Match::ElseAnyCase), 12U);
    EXPECT_EQ(filed.index.Find("kEy", Match::ElseAnyCase), 6U);
    EXPECT_EQ(filed.index.Find("keY", Match::ElseAnyCase), 0U);
    EXPECT_EQ(filed.index.Find("keY", Match::Exact), IniIndex::kNone);
}

TEST(IniIndex, FoldsTheCaseOfAsciiLettersOnly) {
    const Filed filed("x[\xc3\x84@=1\n");
    EXPECT_EQ(filed.index.Find("x{\xc3\xa4`", Match::ElseAnyCase), IniIndex::kNone);
    EXPECT_EQ(filed.index.Find("x[\xc3\x84`", Match::ElseAnyCase), IniIndex::kNone);
}

TEST(IniIndex, FindsEveryOneOfManyInEveryBunch) {
    std::string original;
    for (int i = 0; i < 200000; ++i) original += "key" + std::to_string(i) + "=value\n";
    const Filed filed(original);
    const std::vector<EditedText::Place> places = filed.index.Entries();
    ASSERT_EQ(places.size(), 200000U);
    EXPECT_TRUE(std::ranges::is_sorted(places));
    for (std::size_t i = 0; i < places.size(); i += 97) {
        ASSERT_EQ(filed.index.Find("KEY" + std::to_string(i), Match::ElseAnyCase), places[i]);
    }
    EXPECT_EQ(filed.index.Find("key200000", Match::ElseAnyCase), IniIndex::kNone);
}
