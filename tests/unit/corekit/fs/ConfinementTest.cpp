// What may be removed while removals are confined to one directory.
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include "corekit/fs/Confinement.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/ParentDirectory.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Workspace.h"

using corekit::ParentDirectory;
using testsupport::Workspace;

namespace fs = std::filesystem;

TEST(ConfinedRemovals, TakeTheDirectoryAndWhatLiesBelowAndNothingElse) {
    const Workspace dir;
    for (const char* file :
         {"base/file", "base/tree/file", "base/x.1", "other/file", "other/tree/file", "other/x.1"})
        testfiles::Write(dir / file, "x");
    fs::create_directory(dir / "base/empty");
    fs::create_directory(dir / "other/empty");
    fs::create_directory_symlink(dir / "other", dir / "base/link");
    fs::create_directory_symlink(dir / "base", dir / "to-base");
    ASSERT_TRUE(corekit::ConfineRemovals(dir("base")));
    namespace File = corekit::File;
    using corekit::HostDirectory;
    const corekit::Result outside(EXDEV);
    for (const char* prefix : {"other", "base/link", "base/../other"}) {
        const auto path = [&](const char* name) { return dir(std::string(prefix) + name); };
        EXPECT_EQ(File::Remove(path("/file"), HostDirectory::Meant), outside) << prefix;
        EXPECT_EQ(File::RemoveAny(path("/tree"), HostDirectory::Meant), outside) << prefix;
        EXPECT_EQ(File::RemoveEx(path("/x.[0-9]*"), HostDirectory::Meant), outside) << prefix;
        EXPECT_EQ(File::CheckRemovable(path("/file")), outside) << prefix;
        EXPECT_EQ(corekit::Dir::Remove(path("/tree")), outside) << prefix;
        EXPECT_EQ(corekit::Dir::RemoveIfEmpty(path("/empty")), outside) << prefix;
    }
    EXPECT_EQ(corekit::Dir::Remove(dir("other")), outside);
    EXPECT_TRUE(File::RemoveEx(dir("base/x.[0-9]*")));
    EXPECT_TRUE(File::Remove(dir("to-base/file")));
    EXPECT_TRUE(corekit::Dir::RemoveIfEmpty(dir("base/empty")));
    EXPECT_TRUE(corekit::Dir::Remove(dir("base")));
    EXPECT_THAT(testfiles::NamesIn(dir.Path()), testing::UnorderedElementsAre("other", "to-base"));
    EXPECT_THAT(testfiles::NamesIn(dir / "other"),
                testing::UnorderedElementsAre("empty", "file", "tree", "x.1"));
    corekit::EndConfinement();
    EXPECT_TRUE(corekit::Dir::Remove(dir("other")));
}

TEST(ConfinedRemovals, RefuseWhatLiesOutside_WhateverFails) {
    const Workspace dir;
    fs::create_directory(dir / "base");
    testfiles::Write(dir / "other/file", "");
    ASSERT_TRUE(corekit::ConfineRemovals(dir("base")));
    const ParentDirectory place = ParentDirectory::Of(dir("other/file")).value();
    const int points = testsupport::FailInTurn(
        {SYS_newfstatat, SYS_fstat, SYS_openat}, EIO, [] {},
        [&] { return corekit::CheckConfined(place.At()) ? 1 : 0; },
        [](int isAllowed) { EXPECT_EQ(isAllowed, 0); });
    EXPECT_GE(points, 6);
    corekit::EndConfinement();
}

TEST(ConfinedRemovals, AreRefusedForADirectoryThatIsNotThere) {
    const Workspace dir;
    EXPECT_EQ(corekit::ConfineRemovals(dir("none")), corekit::Result(ENOENT));
}
