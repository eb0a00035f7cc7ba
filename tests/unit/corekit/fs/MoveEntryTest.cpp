// Moving single entries.
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

#include "corekit/fs/detail/MoveEntry.h"
#include "corekit/os/Interruption.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::Existing;
using corekit::MoveEntry;
using corekit::ParentDirectory;
using corekit::Result;
using corekit::String;
using testfiles::NamesIn;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::FailingCall;
using testsupport::Mount;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

Result Move(const std::string& from, const std::string& to, Existing existing) {
    const ParentDirectory source = ParentDirectory::Of(String::FromUtf8(from)).value();
    const ParentDirectory target = ParentDirectory::Of(String::FromUtf8(to)).value();
    return MoveEntry(source.At(), target.At(), existing);
}

/// Moves the file and ends by SIGTERM, which comes as soon as anything of it is in the target's directory.
[[noreturn]] void MoveUnderASignal(const std::string& from, const std::string& toDirectory) {
    corekit::Interruption::Prepare();
    if (fork() == 0) {
        while (fs::is_empty(toDirectory)) continue;
        kill(getppid(), SIGTERM);
        _exit(0);
    }
    corekit::Forgive(Move(from, toDirectory + "/name", Existing::Stays));
    for (;;) pause();
}

}  // namespace

TEST(MoveEntry, ReplacesOrKeepsWhatHasTheName) {
    const Workspace dir;
    testfiles::Write(dir / "from", "new");
    testfiles::Write(dir / "to", "old");
    EXPECT_EQ(Move(dir / "from", dir / "to", Existing::Stays), Result(EEXIST));
    EXPECT_EQ(testfiles::Read(dir / "to"), "old");
    EXPECT_TRUE(Move(dir / "from", dir / "to", Existing::Replaced));
    EXPECT_EQ(testfiles::Read(dir / "to"), "new");
    EXPECT_TRUE(Move(dir / "to", dir / "free", Existing::Stays));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("free"));
}

TEST(MoveEntry, LeavesNoHalfFileOnAnotherFileSystem_WhenASignalEndsTheProcess) {
    const Workspace dir;
    const Mount other = Mount::Tmpfs(dir / "other");
    testfiles::Write(dir / "name", std::string(16UL * 1024 * 1024, 'x'));
    EXPECT_EXIT(MoveUnderASignal(dir / "name", dir / "other"), testing::KilledBySignal(SIGTERM), "");
    EXPECT_THAT(NamesIn(dir / "other"), ElementsAre("name"));
    EXPECT_EQ(fs::file_size(dir / "other/name"), 16UL * 1024 * 1024);
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("other"));
}

TEST(MoveEntry, UsesALink_WhenNoRenameSparesWhatExists) {
    const Workspace dir;
    for (const int errnoValue : {EINVAL, ENOSYS}) {
        SCOPED_TRACE(errnoValue);
        const std::initializer_list<FailingCall> old = {{SYS_renameat2, errnoValue}};
        testfiles::Write(dir / "from", "new");
        testfiles::Write(dir / "taken", "present");
        testfiles::Write(dir / "tree/file", "x");
        fs::create_symlink("nowhere", dir / "link");
        const auto move = [&](const char* from, const char* to) {
            return WithFailing(old, [&] { return Move(dir / from, dir / to, Existing::Stays).Code(); });
        };
        EXPECT_EQ(move("from", "taken"), EEXIST);
        EXPECT_EQ(move("tree", "taken"), EEXIST);
        EXPECT_EQ(move("from", "to"), 0);
        EXPECT_EQ(move("link", "link2"), 0);
        EXPECT_EQ(move("tree", "tree2"), 0);
        EXPECT_EQ(testfiles::Read(dir / "taken"), "present");
        EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("link2", "taken", "to", "tree2"));
        EXPECT_TRUE(testfiles::Exists(dir / "tree2/file"));
        for (const auto& name : NamesIn(dir.Path())) fs::remove_all(dir / name);
    }
}

TEST(MoveEntry, LeavesTheOldOne_WhereLinksAreRefusedToo) {
    const Workspace dir;
    testfiles::Write(dir / "from", "x");
    const int failure = WithFailing({{SYS_renameat2, EINVAL}, {SYS_linkat, EPERM}},
                                    [&] { return Move(dir / "from", dir / "to", Existing::Stays).Code(); });
    EXPECT_EQ(failure, EPERM);
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("from"));
}

TEST(MoveEntry, RemovesTheOldOneOnlyAfterItsCopyIsInPlace) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other");
    testfiles::Write(dir / "tree/file", "x");
    const int failure = WithFailing({{SYS_unlinkat, EACCES}}, [&] {
        return Move(dir / "tree", "/opt/other/tree", Existing::Stays).Code();
    });
    EXPECT_EQ(failure, EACCES);
    EXPECT_EQ(testfiles::Read(dir / "tree/file"), "x");
    EXPECT_EQ(testfiles::Read("/opt/other/tree/file"), "x");
}

TEST(MoveEntry, LeavesNoCopy_WhenItCannotGetItsName) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs("/opt/other");
    testfiles::Write(dir / "from/file", "x");
    testfiles::Write("/opt/other/to", "old");
    EXPECT_EQ(Move(dir / "from", "/opt/other/to", Existing::Replaced), Result(ENOTDIR));
    EXPECT_THAT(NamesIn("/opt/other"), ElementsAre("to"));
    EXPECT_TRUE(testfiles::Exists(dir / "from/file"));
    EXPECT_TRUE(Move(dir / "from", "/opt/other/new", Existing::Replaced));
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}
