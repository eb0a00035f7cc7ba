// What is read from the upper layers is what was done in the copy, and nothing else.
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "corekit/fs/Dir.h"
#include "preview/UpperLayer.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Mount.h"
#include "tests/support/TestFiles.h"
#include "tests/unit/preview/InCopy.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

namespace fs = std::filesystem;
using testfiles::Write;
using testing::ElementsAre;
using testing::IsEmpty;

/// The tests run on /opt/t with a tree in it, on one file system.
class UpperLayer : public testing::Test {
  protected:
    UpperLayer() {
        Write("/opt/t/file", "old\n");
        Write("/opt/t/dir/one", "1\n");
        Write("/opt/t/dir/deep/two", "2\n");
        fs::create_symlink("file", "/opt/t/link");
    }
    ~UpperLayer() override { fs::remove_all("/opt/t"); }

    static std::vector<std::string> After(const std::function<void()>& code) {
        return testsupport::ChangesAt("/opt", code);
    }
};

TEST_F(UpperLayer, HasNoChange_WhenNothingWasDone) {
    EXPECT_THAT(After([] {}), IsEmpty());
}

TEST_F(UpperLayer, ADirectoryThatIsEmptiedIntoANewOneHasMoved_WhenItGoesItself) {
    const auto empty = [] {
        fs::create_directory("/opt/t/new");
        chmod("/opt/t/new", 0700);
        fs::rename("/opt/t/dir/one", "/opt/t/new/one");
        fs::rename("/opt/t/dir/deep", "/opt/t/new/deep");
    };
    EXPECT_THAT(
        After([&] {
            empty();
            fs::remove("/opt/t/dir");
            Write("/opt/t/new/three", "3\n");
        }),
        ElementsAre("move /opt/t/dir -> /opt/t/new (3)", "change /opt/t/new", "create /opt/t/new/three"));
    EXPECT_THAT(
        After([&] {
            empty();
            fs::remove("/opt/t/file");
        }),
        ElementsAre("move /opt/t/dir/deep -> /opt/t/new/deep (1)", "move /opt/t/dir/one -> /opt/t/new/one",
                    "remove /opt/t/file", "create /opt/t/new"))
        << "the directory is still there";
    EXPECT_THAT(After([&] {
                    empty();
                    fs::rename("/opt/t/new/one", "/opt/t/new/other");
                    fs::remove("/opt/t/dir");
                }),
                ElementsAre("remove /opt/t/dir", "move /opt/t/dir/deep -> /opt/t/new/deep (1)",
                            "move /opt/t/dir/one -> /opt/t/new/other", "create /opt/t/new"))
        << "an entry has another name";
}

TEST_F(UpperLayer, WhatElseHappensBesideADirectoryThatHasMovedEntryByEntryIsToldAsWell) {
    EXPECT_THAT(After([] {
                    fs::create_directory("/opt/t/new");
                    fs::rename("/opt/t/dir/one", "/opt/t/new/one");
                    fs::rename("/opt/t/dir/deep", "/opt/t/new/deep");
                    fs::remove("/opt/t/dir");
                    Write("/opt/t/added", "");
                    fs::rename("/opt/t/file", "/opt/t/renamed");
                    fs::remove("/opt/t/link");
                    chmod("/opt/t", 0700);
                }),
                ElementsAre("change /opt/t", "create /opt/t/added", "move /opt/t/dir -> /opt/t/new (3)",
                            "move /opt/t/file -> /opt/t/renamed", "remove /opt/t/link"));
}

TEST_F(UpperLayer, EntriesThatMoveIntoADirectoryThatWasThereHaveMovedEachByItself) {
    fs::create_directory("/opt/t/other");
    EXPECT_THAT(After([] {
                    fs::rename("/opt/t/dir/one", "/opt/t/other/one");
                    fs::rename("/opt/t/dir/deep", "/opt/t/other/deep");
                    fs::remove("/opt/t/dir");
                }),
                ElementsAre("remove /opt/t/dir", "move /opt/t/dir/deep -> /opt/t/other/deep (1)",
                            "move /opt/t/dir/one -> /opt/t/other/one"));
}

TEST_F(UpperLayer, HasNoChange_WhenAllIsAsBefore) {
    EXPECT_THAT(After([] {
                    chmod("/opt/t/file", 0600);
                    chmod("/opt/t/file", 0644);
                    Write("/opt/t/dir/one", "1\n");
                    fs::rename("/opt/t/dir", "/opt/t/away");
                    fs::rename("/opt/t/away", "/opt/t/dir");
                    fs::remove("/opt/t/link");
                    fs::create_symlink("file", "/opt/t/link");
                    Write("/opt/t/temporary", "");
                    fs::remove("/opt/t/temporary");
                    fs::remove_all("/opt/t/dir/deep");
                    Write("/opt/t/dir/deep/two", "2\n");
                }),
                IsEmpty());
}

TEST_F(UpperLayer, FilesAreCreatedReplacedChangedOrRemoved) {
    EXPECT_THAT(After([] {
                    Write("/opt/t/new", "");
                    Write("/opt/t/file", "other\n");
                    chmod("/opt/t/dir/one", 0600);
                    fs::remove("/opt/t/dir/deep/two");
                    fs::remove("/opt/t/link");
                    fs::create_symlink("dir", "/opt/t/link");
                }),
                ElementsAre("remove /opt/t/dir/deep/two", "change /opt/t/dir/one", "replace /opt/t/file",
                            "replace /opt/t/link", "create /opt/t/new"));
}

TEST_F(UpperLayer, ADirectoryThatGoesIsOneChange) {
    EXPECT_THAT(After([] { fs::remove_all("/opt/t/dir"); }), ElementsAre("remove /opt/t/dir (3)"));
}

/// Removed as the program removes it: by one rename, of which nothing is told.
TEST_F(UpperLayer, ADirectoryThatTheProgramRemovesIsOneChange) {
    EXPECT_THAT(After([] { EXPECT_TRUE(corekit::Dir::Remove(L"/opt/t/dir")); }),
                ElementsAre("remove /opt/t/dir (3)"));
    EXPECT_THAT(After([] {
                    fs::rename("/opt/t/dir/deep", "/opt/t/deep");
                    Write("/opt/t/dir/one", "other\n");
                    EXPECT_TRUE(corekit::Dir::Remove(L"/opt/t/dir"));
                    Write("/opt/t/dir/new", "");
                    EXPECT_TRUE(corekit::Dir::Remove(L"/opt/t/deep"));
                }),
                ElementsAre("remove /opt/t/dir/deep (1)", "create /opt/t/dir/new", "remove /opt/t/dir/one"));
}

TEST_F(UpperLayer, WhatMovesOutOfADirectoryThatGoesDoesNotCount) {
    EXPECT_THAT(After([] {
                    fs::rename("/opt/t/dir/deep", "/opt/t/deep");
                    fs::remove_all("/opt/t/dir");
                }),
                ElementsAre("remove /opt/t/dir (1)", "move /opt/t/dir/deep -> /opt/t/deep (1)"));
}

TEST_F(UpperLayer, ADirectoryThatMovesIsOneChange_AndEachChangeInItAnother) {
    EXPECT_THAT(After([] {
                    fs::rename("/opt/t/dir", "/opt/t/moved");
                    Write("/opt/t/moved/one", "other\n");
                    fs::remove("/opt/t/moved/deep/two");
                    Write("/opt/t/moved/deep/three", "3\n");
                }),
                ElementsAre("move /opt/t/dir -> /opt/t/moved (3)", "remove /opt/t/dir/deep/two",
                            "create /opt/t/moved/deep/three", "replace /opt/t/moved/one"));
}

TEST_F(UpperLayer, ADirectoryMovesBelowANewOne) {
    EXPECT_THAT(After([] {
                    fs::create_directories("/opt/t/a/b");
                    fs::rename("/opt/t/dir/deep", "/opt/t/a/b/deep");
                    fs::rename("/opt/t/dir", "/opt/t/a/dir");
                }),
                ElementsAre("create /opt/t/a", "create /opt/t/a/b", "move /opt/t/dir -> /opt/t/a/dir (3)",
                            "move /opt/t/dir/deep -> /opt/t/a/b/deep (1)"));
}

TEST_F(UpperLayer, AFileMovesWithoutItsBytes) {
    EXPECT_THAT(After([] {
                    fs::rename("/opt/t/file", "/opt/t/dir/file");
                    chmod("/opt/t/dir/file", 0600);
                }),
                ElementsAre("change /opt/t/dir/file", "move /opt/t/file -> /opt/t/dir/file"));
}

TEST_F(UpperLayer, AFileThatReplacesAnotherIsAReplacement) {
    EXPECT_THAT(After([] { fs::rename("/opt/t/file", "/opt/t/dir/one"); }),
                ElementsAre("replace /opt/t/dir/one", "remove /opt/t/file"));
}

TEST_F(UpperLayer, ASecondNameIsNoMove) {
    EXPECT_THAT(After([] { fs::create_hard_link("/opt/t/file", "/opt/t/second"); }),
                ElementsAre("create /opt/t/second"));
}

TEST_F(UpperLayer, AnotherTypeIsAReplacement) {
    EXPECT_THAT(After([] {
                    fs::remove("/opt/t/file");
                    Write("/opt/t/file/inside", "");
                    fs::remove_all("/opt/t/dir");
                    Write("/opt/t/dir", "");
                }),
                ElementsAre("replace /opt/t/dir", "replace /opt/t/file", "create /opt/t/file/inside"));
}

TEST_F(UpperLayer, ADirectoryMadeAnewKeepsNothing) {
    EXPECT_THAT(
        After([] {
            fs::remove_all("/opt/t/dir");
            Write("/opt/t/dir/deep/other", "");
        }),
        ElementsAre("create /opt/t/dir/deep/other", "remove /opt/t/dir/deep/two", "remove /opt/t/dir/one"));
}

TEST_F(UpperLayer, ADirectoryTakesThePlaceOfAnother) {
    EXPECT_THAT(After([] {
                    fs::rename("/opt/t/dir/deep", "/opt/t/new");
                    fs::remove_all("/opt/t/dir");
                    fs::rename("/opt/t/new", "/opt/t/dir");
                }),
                ElementsAre("remove /opt/t/dir (1)", "move /opt/t/dir/deep -> /opt/t/dir (1)"));
}

TEST_F(UpperLayer, OwnersAndAttributesAreCompared) {
    EXPECT_THAT(After([] {
                    EXPECT_EQ(chown("/opt/t/file", 12, 34), 0);
                    EXPECT_EQ(setxattr("/opt/t/dir", "trusted.mark", "1", 1, 0), 0);
                }),
                ElementsAre("change /opt/t/dir trusted.mark", "change /opt/t/file"));
}

TEST_F(UpperLayer, AttributesThatChangeComeOrGoAreTold) {
    for (const char* name : {"user.a", "user.b", "user.c"}) testfiles::SetAttribute("/opt/t/file", name, "1");
    EXPECT_THAT(After([] {
                    testfiles::SetAttribute("/opt/t/file", "user.a", "2");
                    EXPECT_EQ(removexattr("/opt/t/file", "user.b"), 0);
                    Write("/opt/t/new", "");
                    testfiles::SetAttribute("/opt/t/new", "user.d", "1");
                }),
                ElementsAre("change /opt/t/file user.a user.b", "create /opt/t/new user.d"));
}

TEST_F(UpperLayer, AnotherGroupAloneIsAChange) {
    EXPECT_THAT(After([] { EXPECT_EQ(chown("/opt/t/file", 0, 34), 0); }), ElementsAre("change /opt/t/file"));
}

TEST_F(UpperLayer, ADirectoryThatComesBackIntoOneMadeAnewHasNotChanged) {
    EXPECT_THAT(After([] {
                    fs::rename("/opt/t/dir/deep", "/opt/t/x");
                    fs::remove_all("/opt/t/dir");
                    fs::create_directory("/opt/t/dir");
                    fs::rename("/opt/t/x", "/opt/t/dir/deep");
                }),
                ElementsAre("remove /opt/t/dir/one"));
}

TEST_F(UpperLayer, ADirectoryAtTheTopOfAFileSystemMoves) {
    EXPECT_THAT(After([] { fs::rename("/opt/t", "/opt/u"); }), ElementsAre("move /opt/t -> /opt/u (6)"));
}

TEST_F(UpperLayer, APipeIsComparedByItsKind) {
    ASSERT_EQ(mkfifo("/opt/t/pipe", 0600), 0);
    EXPECT_THAT(After([] {
                    fs::remove("/opt/t/pipe");
                    EXPECT_EQ(mkfifo("/opt/t/pipe", 0600), 0);
                }),
                IsEmpty());
    EXPECT_THAT(After([] {
                    fs::remove("/opt/t/pipe");
                    EXPECT_EQ(mknod("/opt/t/pipe", S_IFSOCK | 0600, 0), 0);
                }),
                ElementsAre("replace /opt/t/pipe"));
}

TEST_F(UpperLayer, TheModeOfAMountPointIsOneOfItsOwn) {
    const auto own = testsupport::Mount::Tmpfs("/opt/t/own");
    EXPECT_THAT(After([] { chmod("/opt/t/own", 0700); }), ElementsAre("change /opt/t/own"));
}

TEST_F(UpperLayer, NamesMayHoldAnyByte) {
    EXPECT_THAT(After([] { Write("/opt/t/\xff, :\\\n", ""); }), ElementsAre("create /opt/t/\xff, :\\\n"));
}

TEST_F(UpperLayer, FileSystemsOfAnyNameAreCopied) {
    const auto odd = testsupport::Mount::Tmpfs("/opt/t/a,b:c\\d e");
    Write("/opt/t/a,b:c\\d e/file", "old\n");
    EXPECT_THAT(After([] {
                    Write("/opt/t/a,b:c\\d e/file", "new\n");
                    Write("/opt/t/beside", "");
                }),
                ElementsAre("create /opt/t/beside", "replace /opt/t/a,b:c\\d e/file"));
    EXPECT_EQ(testfiles::Read("/opt/t/a,b:c\\d e/file"), "old\n");
}

TEST_F(UpperLayer, BetweenFileSystemsAMoveIsACopyAndARemoval) {
    const auto other = testsupport::Mount::Tmpfs("/opt/t/other");
    EXPECT_THAT(After([] {
                    fs::copy_file("/opt/t/file", "/opt/t/other/file");
                    fs::remove("/opt/t/file");
                }),
                ElementsAre("remove /opt/t/file", "create /opt/t/other/file"));
}

/// What a host and its copy have, as three directories; none where it could not be told.
std::string ToldOf(const Layer& layer) {
    const auto changes = ReadChanges(layer);
    std::string lines;
    for (const Change& change : changes.value_or(std::vector<Change>()))
        lines += testsupport::Shown(change) + "\n";
    return lines;
}

TEST_F(UpperLayer, IsToldWholeOrNotAtAll_WhateverFails) {
    const Layer layer{"/opt/t", "/opt/t/lower", "/opt/t/upper", "/opt/t/merged"};
    for (const std::string& place : {layer.lower, layer.upper, layer.merged}) {
        Write(place + "/same/file", "1\n");
        Write(place + "/replaced", place == layer.lower ? "old\n" : "new\n");
        fs::create_symlink("file", place + "/link");
    }
    mknod((layer.upper + "/gone").c_str(), S_IFCHR, 0);
    Write(layer.lower + "/gone/deep/file", "2\n");
    fs::remove(layer.upper + "/same/file");
    mknod((layer.upper + "/same/file").c_str(), S_IFCHR, 0);
    Write(layer.merged + "/new", "3\n");
    Write(layer.upper + "/new", "3\n");
    const std::string whole =
        "remove /opt/t/gone (2)\ncreate /opt/t/new\nreplace /opt/t/replaced\nremove /opt/t/same/file\n";
    const std::vector<int> calls = {SYS_newfstatat, SYS_openat,    SYS_getdents64, SYS_read,
                                    SYS_readlink,   SYS_lgetxattr, SYS_llistxattr};
    const int failed = testsupport::FailInTurn(
        calls, EIO, [] {},
        [&] {
            const std::string told = ToldOf(layer);
            return told == whole ? 0 : told.empty() ? 1 : 2;
        },
        [](int result) { EXPECT_NE(result, 2); });
    EXPECT_GT(failed, 40);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
