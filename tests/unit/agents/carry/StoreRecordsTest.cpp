// Reading and replacing the records of older stores.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>

#include "agents/carry/StoreRecords.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testfiles::Exists;
using testfiles::Read;
using testfiles::TempDir;
using testfiles::Write;

String PathOf(const TempDir& directory, const std::string& name) {
    return String::FromUtf8(directory / name);
}

Outcome<Fields> ReadInfo(const std::string& content) {
    const TempDir temp;
    Write(temp / "info", content);
    return ReadFields(PathOf(temp, "info"), L"Info");
}

TEST(StoreRecords, NamesFieldsInCamelCase) {
    const std::pair<const wchar_t*, const wchar_t*> names[] = {
        {L"pkg_total_size", L"PkgTotalSize"},
        {L"pkg_last_download_status_err", L"PkgLastDownloadStatusErr"},
        {L"codebases", L"Codebases"},
        {L"PackageName", L"PackageName"},
        {L"CleanupAfter", L"CleanupAfter"},
        {L"job_refcount", L"JobRefcount"},
        {L"_a__b_", L"AB"},
        {L"a.b-c", L"A.b-c"},
        {L"", L""},
    };
    for (const auto& [key, name] : names) EXPECT_EQ(FieldName(key), name);
}

TEST(StoreRecords, AddsAFieldOnceWithOneText) {
    Fields fields;
    EXPECT_TRUE(AddField(fields, L"A", L"1"));
    EXPECT_TRUE(AddField(fields, L"A", L"1"));
    EXPECT_FALSE(AddField(fields, L"A", L"2"));
    EXPECT_EQ(fields, (Fields{{L"A", L"1"}}));
}

TEST(StoreRecords, ReadsEveryEntry) {
    const auto fields = ReadInfo("# comment\n[Info]\npkg_name = a = b \nempty=\nOther_key=\xc3\xa4\n");
    EXPECT_EQ(fields.value(), (Fields{{L"PkgName", L"a = b"}, {L"Empty", L""}, {L"OtherKey", L"\xe4"}}));
}

TEST(StoreRecords, ReadsNoFieldsFromARecordThatHoldsNone) {
    for (const std::string content : {"", "\n", "[Info]\n", "# comment\n[Info]\n"}) {
        EXPECT_EQ(ReadInfo(content).value(), Fields()) << content;
    }
}

TEST(StoreRecords, SkipsLinesThatAreNoEntriesOfTheSection) {
    for (const std::string content : {"pkg_name=a\n[Info]\na=1\n", "[Info]\na=1\n[Other]\nb=2\n",
                                      "[Info]\njunk\na=1\n=2\n<<<\n", "[Info]\na=1\na=2\n"})
        EXPECT_EQ(ReadInfo(content).value(), (Fields{{L"A", L"1"}})) << content;
}

TEST(StoreRecords, SaysWhyARecordCannotBeRead) {
    const std::pair<const char*, const wchar_t*> records[] = {
        {"pkg_name=a\n", L"it has no section Info"},
        {"[info]\npkg_name=a\n", L"it has no section Info"},
        {"[Info]\na_b=1\nAB=2\n", L"it has two values for AB"},
    };
    for (const auto& [content, why] : records) EXPECT_EQ(ReadInfo(content).error().text, why) << content;
    EXPECT_EQ(ReadInfo("[Info]\n" + std::string(17 << 20, '\n')).error().text, L"File too large");
    const TempDir temp;
    EXPECT_EQ(ReadFields(PathOf(temp, "missing"), L"Info").error().text, L"No such file or directory");
    EXPECT_EQ(ReadFields(PathOf(temp, "."), L"Info").error().text, L"Is a directory");
}

TEST(StoreRecords, ReadsTheWholeRecordOrFails) {
    const TempDir temp;
    const String path = PathOf(temp, "info");
    const int points = testsupport::FailInTurn(
        testsupport::kFileCalls, EACCES, [&] { Write(temp / "info", "[Info]\na=1\n"); },
        [&] {
            const auto fields = ReadFields(path, L"Info");
            EXPECT_TRUE(!fields || *fields == Fields({{L"A", L"1"}}));
            return 0;
        },
        [](int) {});
    EXPECT_GT(points, 2);
}

TEST(StoreRecords, ReadsAnXmlRecordThatIsThere) {
    const TempDir temp;
    EXPECT_EQ(ReadXmlRecord(PathOf(temp, "missing")).value(), L"");
    Write(temp / "record", "<a/>");
    EXPECT_EQ(ReadXmlRecord(PathOf(temp, "record")).value(), L"<a/>");
    EXPECT_FALSE(ReadXmlRecord(PathOf(temp, ".")));
}

TEST(StoreRecords, WritesARecordAsPrivateAsTheOldOne) {
    const TempDir temp;
    for (const unsigned mode : {0600u, 0640u, 0644u}) {
        SCOPED_TRACE(mode);
        Write(temp / "old", "", mode);
        EXPECT_TRUE(WriteRecord(PathOf(temp, "new"), L"\xe4<", PathOf(temp, "old")));
        EXPECT_EQ(Read(temp / "new"), "\xc3\xa4<");
        EXPECT_EQ(testfiles::Mode(temp / "new"), mode);
        std::filesystem::remove(temp / "new");
    }
}

TEST(StoreRecords, NeverReplacesAnotherRecord) {
    const TempDir temp;
    Write(temp / "old", "");
    Write(temp / "new", "other");
    EXPECT_FALSE(WriteRecord(PathOf(temp, "new"), L"text", PathOf(temp, "old")));
    EXPECT_EQ(Read(temp / "new"), "other");
    EXPECT_TRUE(WriteRecord(PathOf(temp, "new"), L"other", PathOf(temp, "old")));
    std::filesystem::create_symlink("nowhere", temp / "link");
    EXPECT_FALSE(WriteRecord(PathOf(temp, "link"), L"text", PathOf(temp, "old")));
    EXPECT_EQ(std::filesystem::read_symlink(temp / "link"), "nowhere");
}

TEST(StoreRecords, FailsForAnEmptyRecordAndForAMissingDirectory) {
    const TempDir temp;
    Write(temp / "old", "");
    EXPECT_FALSE(WriteRecord(PathOf(temp, "new"), L"", PathOf(temp, "old")));
    EXPECT_FALSE(Exists(temp / "new"));
    EXPECT_FALSE(WriteRecord(PathOf(temp, "missing/new"), L"text", PathOf(temp, "old")));
    EXPECT_FALSE(WriteRecord(PathOf(temp, "new"), L"text", PathOf(temp, "missing")));
    EXPECT_FALSE(Exists(temp / "new"));
}

TEST(StoreRecords, MovesAFileThatIsThereToANameThatIsFree) {
    const TempDir temp;
    EXPECT_TRUE(MoveIfPresent(PathOf(temp, "missing"), PathOf(temp, "to")));
    EXPECT_FALSE(Exists(temp / "to"));
    Write(temp / "from", "one");
    EXPECT_TRUE(MoveIfPresent(PathOf(temp, "from"), PathOf(temp, "to")));
    EXPECT_FALSE(Exists(temp / "from"));
    EXPECT_EQ(Read(temp / "to"), "one");
    Write(temp / "from", "two");
    EXPECT_TRUE(MoveIfPresent(PathOf(temp, "from"), PathOf(temp, "to")));
    EXPECT_EQ(Read(temp / "from"), "two");
    EXPECT_EQ(Read(temp / "to"), "one");
    Write(temp / "from", "one");
    EXPECT_TRUE(MoveIfPresent(PathOf(temp, "from"), PathOf(temp, "to")));
    EXPECT_FALSE(Exists(temp / "from"));
    EXPECT_EQ(Read(temp / "to"), "one");
}

TEST(StoreRecords, ReportsAFileAsMoved_OnlyWhenItIs) {
    const TempDir temp;
    const auto prepare = [&] {
        std::filesystem::remove(temp / "new");
        Write(temp / "old", "content");
    };
    const auto move = [&] { return MoveIfPresent(PathOf(temp, "old"), PathOf(temp, "new")) ? 0 : 1; };
    const auto check = [&](int result) {
        EXPECT_NE(Exists(temp / "old"), Exists(temp / "new"));
        if (result == 0) {
            EXPECT_EQ(Read(temp / "new"), "content");
        }
    };
    EXPECT_GT(testsupport::FailInTurn(testsupport::kFileCalls, EACCES, prepare, move, check), 3);
}

TEST(StoreRecords, KeepsTheCopyThatCounts_WhateverFails) {
    const TempDir temp;
    const auto prepare = [&] {
        Write(temp / "old", "content");
        Write(temp / "new", "content");
    };
    const auto move = [&] {
        static_cast<void>(MoveIfPresent(PathOf(temp, "old"), PathOf(temp, "new")));
        return 0;
    };
    const auto check = [&](int) { EXPECT_EQ(Read(temp / "new"), "content"); };
    EXPECT_GT(testsupport::FailInTurn(testsupport::kFileCalls, EACCES, prepare, move, check), 5);
    EXPECT_EQ(Read(temp / "new"), "content");
    EXPECT_FALSE(Exists(temp / "old"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
