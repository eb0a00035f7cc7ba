// INI files on disk: read, edited and replaced.
#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "corekit/ini/IniFile.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

using corekit::IniFile;
using corekit::Result;
using corekit::String;

namespace {

class IniFileTest : public testing::Test {
  protected:
    String Make(const std::string& content, unsigned mode = 0644) {
        testfiles::Write(m_dir / "client.conf", content, mode);
        return Path();
    }
    String Path() const { return String::FromUtf8(m_dir / "client.conf"); }
    std::string Content() const { return testfiles::Read(m_dir / "client.conf"); }

    testfiles::TempDir m_dir;
};

}  // namespace

TEST_F(IniFileTest, ReadsAMissingFileAsEmptyAndMakesIt) {
    IniFile file(Path());
    EXPECT_EQ(file.FileName(), Path());
    EXPECT_EQ(file.GetValue(L"s", L"k"), L"");
    file.SetValue(L"s", L"k", L"v");
    EXPECT_EQ(file.Write(), Result());
    EXPECT_EQ(Content(), "[s]\nk=v\n");
    EXPECT_EQ(testfiles::Mode(m_dir / "client.conf"), 0644U);
}

TEST_F(IniFileTest, GivesValuesAndNothingForAMissingEntry) {
    const IniFile file(Make("[s]\nk=v\nempty=\n"));
    EXPECT_EQ(file.GetValue(L"s", L"k"), L"v");
    EXPECT_EQ(file.GetValue(L"s", L"empty"), L"");
    EXPECT_EQ(file.GetValue(L"s", L"missing"), L"");
    EXPECT_EQ(file.GetValue(L"missing", L"k"), L"");
}

TEST_F(IniFileTest, ReturnsWhetherAnEntryExists) {
    const IniFile file(Make("[s]\nk=v\nempty=\n"));
    String value = L"untouched";
    EXPECT_FALSE(file.GetValue(L"s", L"missing", value));
    EXPECT_EQ(value, L"untouched");
    EXPECT_TRUE(file.GetValue(L"s", L"empty", value));
    EXPECT_EQ(value, L"");
    EXPECT_TRUE(file.GetValue(L"s", L"k", value));
    EXPECT_EQ(value, L"v");
}

TEST_F(IniFileTest, LooksKeysUpInAnyCase_WhenAsked) {
    const String path = Make("[Client Details]\nSerialNumber=17\n");
    EXPECT_EQ(IniFile(path).GetValue(L"Client Details", L"serialnumber"), L"");
    EXPECT_EQ(IniFile(path, IniFile::KeyCase::FallBack).GetValue(L"Client Details", L"serialnumber"), L"17");
    EXPECT_EQ(IniFile(path, IniFile::KeyCase::FallBack).GetValue(L"client details", L"serialnumber"), L"");
}

TEST_F(IniFileTest, AddsEntriesToAMap) {
    const IniFile file(Make("[s]\nb=1\na = 2\nb=3\n[t]\nc=4\n"));
    IniFile::Entries entries = {{L"a", L"before"}, {L"z", L"before"}};
    file.GetEntries(L"s", entries);
    EXPECT_EQ(entries, (IniFile::Entries{{L"a", L"2"}, {L"b", L"1"}, {L"z", L"before"}}));
    file.GetEntries(L"missing", entries);
    EXPECT_EQ(entries.size(), 3U);
}

TEST_F(IniFileTest, ListsTheValuesOfAllSections) {
    IniFile file(Make("# c=comment\n[s]\nb=1\njunk\na = 2 \n[t]\nb=\n;x=y\nc=4=5"));
    EXPECT_EQ(file.Values(), (std::vector<String>{L"1", L"2", L"", L"4=5"}));
    file.SetValue(L"s", L"b", L"new");
    EXPECT_EQ(file.Values().front(), L"new");
    EXPECT_TRUE(IniFile(L"/none").Values().empty());
}

TEST_F(IniFileTest, ListsAllEntriesWithTheirSections) {
    IniFile file(
        Make("\xef\xbb\xbf"
             "first=0\n[s]\nb=1\n#c=2\n[t]\nb = 3\n[s]\nb=4\n"));
    file.SetValue(L"t", L"d", L"5");
    std::vector<String> lines;
    for (const IniFile::Entry& entry : file.AllEntries())
        lines.push_back(entry.section + L"/" + entry.key + L"=" + entry.value);
    EXPECT_EQ(lines, (std::vector<String>{L"/first=0", L"s/b=1", L"t/b=3", L"t/d=5", L"s/b=4"}));
}

TEST_F(IniFileTest, GivesTheNumberOfTheLineOfAnEntry) {
    IniFile file(Make("# comment\n[s]\n\na=1\r\nA=2\na=3\n[t]\nb=4"), IniFile::KeyCase::FallBack);
    EXPECT_EQ(file.LineOf(L"s", L"a"), 4U);
    EXPECT_EQ(file.LineOf(L"s", L"A"), 5U);
    EXPECT_EQ(file.LineOf(L"t", L"B"), 8U);
    EXPECT_EQ(file.LineOf(L"t", L"a"), 0U);
    EXPECT_EQ(file.LineOf(L"missing", L"a"), 0U);
    file.SetValue(L"s", L"a", L"other");
    file.SetValue(L"s", L"new", L"5");
    EXPECT_EQ(file.LineOf(L"s", L"a"), 4U);
    EXPECT_EQ(file.LineOf(L"s", L"new"), 0U);
    EXPECT_EQ(IniFile(L"/none").LineOf(L"s", L"a"), 0U);
}

TEST_F(IniFileTest, GivesTheNumbersOfTheLinesOfALongFile) {
    constexpr std::size_t kEntries = 3000;
    std::string text = "[s]\n";
    for (std::size_t entry = 0; entry < kEntries; ++entry)
        text += "key" + std::to_string(entry) + "=" + std::string(entry % 7, 'v') + "\n";
    const IniFile file(Make(text));
    for (std::size_t step = 0; step < kEntries; ++step) {
        const std::size_t entry = step * 1999 % kEntries;  // each once, in no order of the file's
        ASSERT_EQ(file.LineOf(L"s", String::FromUtf8("key" + std::to_string(entry))), entry + 2);
    }
}

TEST_F(IniFileTest, ListsWhatWasSet) {
    IniFile file(Make("[s]\na=1\n"));
    file.SetValue(L"s", L"a", L"2");
    file.SetValue(L"s", L"b", L"3");
    file.SetValue(L"t", L"c", L"4");
    IniFile::Entries entries;
    file.GetEntries(L"s", entries);
    file.GetEntries(L"t", entries);
    EXPECT_EQ(entries, (IniFile::Entries{{L"a", L"2"}, {L"b", L"3"}, {L"c", L"4"}}));
}

TEST_F(IniFileTest, WritesAnUnchangedFileByteForByte) {
    const std::string content =
        "\xef\xbb\xbf# Gr\xfc\xdf"
        "e\r\n\n [ s ] \n\tk = v \t\nk\n\n;end \xff\xfe";
    const IniFile file(Make(content));
    EXPECT_EQ(file.Write(), Result());
    EXPECT_EQ(Content(), content);
}

TEST_F(IniFileTest, CarriesBytesThatAreNotUtf8) {
    IniFile file(Make("[s]\nk=caf\xe9\nother=\xe9\n"));
    file.SetValue(L"t", L"copy", file.GetValue(L"s", L"k"));
    file.SetValue(L"t", L"wide", L"\u20AC");
    EXPECT_EQ(file.Write(), Result());
    EXPECT_EQ(Content(), "[s]\nk=caf\xe9\nother=\xe9\n[t]\ncopy=caf\xe9\nwide=\xe2\x82\xac\n");
}

TEST_F(IniFileTest, NeverLetsAValueBecomeASecondLine) {
    IniFile file(Make("[s]\nk=1\n"));
    file.SetValue(L"s", L"k", L"v\n[evil]\r\nk=2");
    EXPECT_EQ(file.Write(), Result());
    EXPECT_EQ(Content(), "[s]\nk=v [evil]  k=2\n");
}

TEST_F(IniFileTest, KeepsModeAndReplacesInOneStep) {
    IniFile file(Make("[s]\nk=1\n", 0600));
    struct stat before {};
    ASSERT_EQ(stat((m_dir / "client.conf").c_str(), &before), 0);
    ASSERT_EQ(link((m_dir / "client.conf").c_str(), (m_dir / "old").c_str()), 0);
    file.SetValue(L"s", L"k", L"2");
    EXPECT_EQ(file.Write(), Result());
    EXPECT_EQ(testfiles::Mode(m_dir / "client.conf"), 0600U);
    EXPECT_EQ(Content(), "[s]\nk=2\n");
    EXPECT_EQ(testfiles::Read(m_dir / "old"), "[s]\nk=1\n");
}

TEST_F(IniFileTest, WritesTwice) {
    IniFile file(Make("[s]\nk=1\n"));
    file.SetValue(L"s", L"k", L"2");
    EXPECT_EQ(file.Write(), Result());
    file.SetValue(L"s", L"n", L"3");
    EXPECT_EQ(file.Write(), Result());
    EXPECT_EQ(Content(), "[s]\nk=2\nn=3\n");
}

TEST_F(IniFileTest, FailsToWrite_WhereItCannot) {
    IniFile file(String::FromUtf8(m_dir / "missing/client.conf"));
    file.SetValue(L"s", L"k", L"v");
    EXPECT_EQ(file.Write(), Result(ENOENT));
}

TEST_F(IniFileTest, BeginsWithAText_WhateverTheFileHolds) {
    Make("[old]\nkey=old\n", 0600);
    IniFile file(Path(), L"[s]\nk=K\u00F6ln\n");
    EXPECT_EQ(file.ReadResult(), Result());
    EXPECT_EQ(file.GetValue(L"s", L"k"), L"K\u00F6ln");
    file.SetValue(L"s", L"n", L"2");
    EXPECT_EQ(file.Write(), Result());
    EXPECT_EQ(Content(), "[s]\nk=K\xC3\xB6ln\nn=2\n");
    EXPECT_EQ(testfiles::Mode(m_dir / "client.conf"), 0600U);
}

TEST_F(IniFileTest, DoesNotReplaceWhatItCouldNotRead) {
    ASSERT_EQ(mkfifo((m_dir / "client.conf").c_str(), 0600), 0);
    IniFile fifo(Path());
    String value = L"none";
    EXPECT_FALSE(fifo.GetValue(L"s", L"k", value));
    EXPECT_EQ(value, L"none");
    fifo.SetValue(L"s", L"k", L"v");
    EXPECT_EQ(fifo.GetValue(L"s", L"k"), L"v");
    EXPECT_EQ(fifo.Write(), Result(EINVAL));

    const IniFile directory(String::FromUtf8(m_dir.Path()));
    EXPECT_EQ(directory.Write(), Result(EISDIR));
}

TEST_F(IniFileTest, MovesWithWhatWasSet) {
    IniFile file(Make("[s]\nk=1\n"));
    file.SetValue(L"s", L"k", L"2");
    IniFile moved = std::move(file);
    moved.SetValue(L"s", L"n", L"3");
    IniFile assigned(L"/nonexistent");
    assigned = std::move(moved);
    EXPECT_EQ(assigned.FileName(), Path());
    EXPECT_EQ(assigned.Write(), Result());
    EXPECT_EQ(Content(), "[s]\nk=2\nn=3\n");
}

TEST_F(IniFileTest, ReadsALineOfOneMebibyte) {
    const std::string longest(IniFile::kLongestLine - 2, 'x');
    IniFile file(Make("[s]\nk=" + longest + "\nl=" + longest));
    ASSERT_EQ(file.ReadResult(), Result());
    EXPECT_EQ(file.GetValue(L"s", L"l").Length(), longest.size());
    for (int i = 0; i < 100; ++i) file.SetValue(L"s", L"n" + String::FromInt(i), L"1");
    file.SetValue(L"s", L"k", L"small");
    EXPECT_EQ(file.Write(), Result());
    EXPECT_TRUE(Content().starts_with("[s]\nk=small\nl=xx"));
}

TEST_F(IniFileTest, RefusesALineOverOneMebibyte) {
    const std::string tooLong(IniFile::kLongestLine - 1, 'x');
    for (const std::string& content : {"[s]\na=1\nk=" + tooLong, "[s]\nk=" + tooLong + "\na=1\n"}) {
        const IniFile file(Make(content));
        EXPECT_EQ(file.ReadResult(), Result(EFBIG));
        EXPECT_EQ(file.GetValue(L"s", L"a"), L"");
        EXPECT_EQ(file.Write(), Result(EFBIG));
        EXPECT_TRUE(Content() == content);
        EXPECT_EQ(IniFile(Path(), content, IniFile::KeyCase::Exact).ReadResult(), Result(EFBIG));
    }
}

TEST_F(IniFileTest, RefusesAFileOverItsLimit) {
    const std::string content = "[s]\nk=1\n";
    for (const auto& [limit, expected] :
         {std::pair(content.size(), Result()), {content.size() - 1, Result(EFBIG)}}) {
        const IniFile file(Make(content), IniFile::KeyCase::Exact, limit);
        EXPECT_EQ(file.ReadResult(), expected);
        EXPECT_EQ(file.GetValue(L"s", L"k"), expected ? L"1" : L"");
        const IniFile given(Path(), content, IniFile::KeyCase::Exact, limit);
        EXPECT_EQ(given.ReadResult(), expected);
    }
}

TEST_F(IniFileTest, ReadsSixtyFourMebibytes_UnlessToldOtherwise) {
    std::string content;
    const std::string line(99, '#');
    while (content.size() + 100 <= IniFile::kLargestFile) content += line + "\n";
    content.append(IniFile::kLargestFile - content.size(), '\n');
    EXPECT_EQ(IniFile(Make(content)).ReadResult(), Result());
    EXPECT_EQ(IniFile(Make(content + "\n")).ReadResult(), Result(EFBIG));
}

TEST_F(IniFileTest, EditsAFileOfAHundredThousandLines) {
    std::string before;
    std::string after;
    for (int i = 0; i < 100'000; ++i) {
        if (i % 5'000 == 0) before += "[s" + std::to_string(i / 5'000) + "]\n";
        if (i % 5'000 == 0) after += "[s" + std::to_string(i / 5'000) + "]\n";
        const std::string line = "Key" + std::to_string(i) + "=";
        before += line + "old\n";
        after += line + (i % 1'000 == 7 ? "new\n" : "old\n");
    }
    const IniFile old(Make(before), IniFile::KeyCase::FallBack);
    IniFile file(Path());
    for (int i = 7; i < 100'000; i += 1'000) {
        const String section = L"s" + String::FromInt(i / 5'000);
        EXPECT_EQ(old.GetValue(section, L"key" + String::FromInt(i)), L"old");
        file.SetValue(section, L"Key" + String::FromInt(i), L"new");
    }
    EXPECT_EQ(file.Write(), Result());
    EXPECT_TRUE(Content() == after);
}
