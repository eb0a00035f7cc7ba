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

bool ReadInfo(const std::string& content, Fields& fields) {
    const TempDir temp;
    Write(temp / "info", content);
    return ReadFields(PathOf(temp, "info"), L"Info", fields);
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
    Fields fields;
    EXPECT_TRUE(ReadInfo("# comment\n[Info]\npkg_name = a = b \nempty=\nOther_key=\xc3\xa4\n", fields));
    EXPECT_EQ(fields, (Fields{{L"PkgName", L"a = b"}, {L"Empty", L""}, {L"OtherKey", L"\xe4"}}));
}

TEST(StoreRecords, ReadsNoFieldsFromARecordThatHoldsNone) {
    for (const std::string content : {"", "\n", "[Info]\n", "# comment\n[Info]\n"}) {
        Fields fields;
        EXPECT_TRUE(ReadInfo(content, fields)) << content;
        EXPECT_EQ(fields, Fields()) << content;
    }
}

TEST(StoreRecords, RefusesARecordThatItCannotCarryWhole) {
    for (const std::string content : {"pkg_name=a\n", "pkg_name=a\n[Info]\na=1\n", "[info]\npkg_name=a\n",
                                      "[Info]\na=1\n[Other]\nb=2\n", "[Info]\na_b=1\nAB=2\n"}) {
        Fields fields;
        EXPECT_FALSE(ReadInfo(content, fields)) << content;
    }
    const TempDir temp;
    Fields fields;
    EXPECT_FALSE(ReadFields(PathOf(temp, "missing"), L"Info", fields));
    EXPECT_FALSE(ReadFields(PathOf(temp, "."), L"Info", fields));
    EXPECT_EQ(fields, Fields());
}

TEST(StoreRecords, ReadsTheWholeRecordOrSaysThatItCannot) {
    const TempDir temp;
    const String path = PathOf(temp, "info");
    const int points = testsupport::FailInTurn(
        testsupport::kFileCalls, EACCES, [&] { Write(temp / "info", "[Info]\na=1\n"); },
        [&] {
            Fields fields;
            const bool isRead = ReadFields(path, L"Info", fields);
            EXPECT_EQ(isRead, fields == Fields({{L"A", L"1"}}));
            return 0;
        },
        [](int) {});
    EXPECT_GT(points, 2);
}

TEST(StoreRecords, ReadsAnXmlRecordThatIsThere) {
    const TempDir temp;
    String text;
    EXPECT_TRUE(ReadXmlRecord(PathOf(temp, "missing"), text));
    EXPECT_EQ(text, L"");
    Write(temp / "record", "<a/>");
    EXPECT_TRUE(ReadXmlRecord(PathOf(temp, "record"), text));
    EXPECT_EQ(text, L"<a/>");
    EXPECT_FALSE(ReadXmlRecord(PathOf(temp, "."), text));
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

TEST(StoreRecords, WritesNoEmptyRecordAndNoneWhereItCannot) {
    const TempDir temp;
    Write(temp / "old", "");
    EXPECT_FALSE(WriteRecord(PathOf(temp, "new"), L"", PathOf(temp, "old")));
    EXPECT_FALSE(Exists(temp / "new"));
    EXPECT_FALSE(WriteRecord(PathOf(temp, "missing/new"), L"text", PathOf(temp, "old")));
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

TEST(StoreRecords, SaysThatAFileIsMovedOnlyWhenItIs) {
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

}  // namespace
}  // namespace Zorvane::AgentInstaller
