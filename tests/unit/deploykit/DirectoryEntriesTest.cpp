// Directories read at once.
#include <filesystem>
#include <gtest/gtest.h>

#include "deploykit/DirectoryEntries.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

using corekit::FileInfo;
using corekit::String;
using deploykit::DirectoryEntries;

TEST(DirectoryEntries, GivesWhatMatches) {
    const testfiles::TempDir dir;
    std::filesystem::create_symlink("nowhere", dir / "S99agent");
    testfiles::Write(dir / "K01agent", "");
    const std::vector<FileInfo> entries = DirectoryEntries(String::FromUtf8(dir.Path()), L"S??agent");
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].name, L"S99agent");
    EXPECT_EQ(entries[0].path, String::FromUtf8(dir / "S99agent"));
    EXPECT_FALSE(entries[0].isDirectory);
}

TEST(DirectoryEntries, GivesNothingForADirectoryThatIsNotThere) {
    EXPECT_TRUE(DirectoryEntries(L"/nowhere", L"*").empty());
}
