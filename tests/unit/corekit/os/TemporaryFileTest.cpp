// Temporary files: gone with their owner, in whatever order the owners go.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

#include "corekit/os/TemporaryFile.h"
#include "tests/support/InChild.h"
#include "tests/support/TestFiles.h"

using corekit::TemporaryFile;
using testfiles::NamesIn;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(TemporaryFile, IsRemovedWithItsOwner) {
    const testfiles::TempDir dir;
    testfiles::Write(dir / "file", "");
    {
        TemporaryFile file;
        file.Take(dir / "file");
        EXPECT_EQ(file.Path(), dir / "file");
        EXPECT_TRUE(testfiles::Exists(dir / "file"));
    }
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST(TemporaryFile, IsRemoved_WhenAnotherTakesItsPlace) {
    const testfiles::TempDir dir;
    testfiles::Write(dir / "one", "");
    testfiles::Write(dir / "two", "");
    TemporaryFile file;
    file.Take(dir / "one");
    file.Take(dir / "two");
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("two"));
    file.Remove();
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
    EXPECT_EQ(file.Path(), "");
}

TEST(TemporaryFile, MayHaveGoneAlready) {
    const testfiles::TempDir dir;
    TemporaryFile file;
    file.Take(dir / "missing");
    file.Remove();
    file.Take("");
    EXPECT_EQ(file.Path(), "");
}

TEST(TemporaryFile, IsLeftByAForkedProcess) {
    const testfiles::TempDir dir;
    testfiles::Write(dir / "file", "");
    TemporaryFile file;
    file.Take(dir / "file");
    testsupport::InChild([] {
        TemporaryFile::RemoveAll();
        return 0;
    });
    testsupport::InChild([&] {
        file.Remove();
        return 0;
    });
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file"));
}

TEST(TemporaryFile, IsIndependentOfTheOthers) {
    const testfiles::TempDir dir;
    std::optional<TemporaryFile> files[3];
    for (const char* name : {"0", "1", "2"}) {
        testfiles::Write(dir / name, "");
        files[*name - '0'].emplace().Take(dir / name);
    }
    files[1].reset();
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("0", "2"));
    files[2].reset();
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("0"));
    TemporaryFile::RemoveAll();
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

}  // namespace
