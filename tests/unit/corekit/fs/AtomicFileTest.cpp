// Files that take the place of others in one step.
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/detail/AtomicFile.h"
#include "corekit/os/Interruption.h"
#include "corekit/os/SystemCall.h"
#include "tests/support/InChild.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::AtomicFile;
using corekit::Descriptor;
using corekit::Result;
using testfiles::NamesIn;
using testing::ElementsAre;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

std::string StepOf(const seccomp_data& call, int directory) {
    if (call.nr == SYS_renameat) return "rename";
    return static_cast<int>(call.args[0]) == directory ? "flush the directory" : "flush the file";
}

}  // namespace

TEST(AtomicFile, StandsBesideItsTarget_UntilItIsCommitted) {
    const Workspace dir;
    testfiles::Write(dir / "file", "old");
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    AtomicFile replacement({directory.Get(), "file"});
    ASSERT_TRUE(replacement.Begin());
    ASSERT_TRUE(corekit::WriteAll(replacement.Fd(), "new"));
    const auto names = NamesIn(dir.Path());
    ASSERT_EQ(names.size(), 2U);
    EXPECT_TRUE(names[0].starts_with(".file."));
    EXPECT_EQ(testfiles::Mode(dir / names[0]), 0600U);
    EXPECT_EQ(testfiles::Read(dir / "file"), "old");
    ASSERT_TRUE(replacement.Commit());
    EXPECT_EQ(testfiles::Read(dir / "file"), "new");
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file"));
}

TEST(AtomicFile, IsFlushedBeforeItGetsItsNameAndTheDirectoryAfterwards) {
    const Workspace dir;
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    testsupport::InChild([&] {
        std::vector<std::string> steps;
        testsupport::JudgeCalls({SYS_fsync, SYS_renameat}, [&](const seccomp_notif& call) {
            steps.push_back(StepOf(call.data, directory.Get()));
            return testsupport::Verdict();
        });
        AtomicFile replacement({directory.Get(), "file"});
        EXPECT_TRUE(replacement.Begin());
        EXPECT_TRUE(replacement.Commit());
        EXPECT_THAT(steps, ElementsAre("flush the file", "rename", "flush the directory"));
        return 0;
    });
}

TEST(AtomicFile, IsRemovedBeforeASignalEndsTheProcess) {
    const Workspace dir;
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    EXPECT_EXIT(
        {
            corekit::Interruption::Prepare();
            {
                AtomicFile replacement({directory.Get(), "file"});
                if (!replacement.Begin()) _exit(1);
                raise(SIGTERM);
            }
            _exit(0);
        },
        testing::KilledBySignal(SIGTERM), "");
    EXPECT_THAT(NamesIn(dir.Path()), testing::IsEmpty());
}

TEST(AtomicFile, IsRemovedWithoutACommit) {
    const Workspace dir;
    testfiles::Write(dir / "file", "old");
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    {
        AtomicFile replacement({directory.Get(), "file"});
        ASSERT_TRUE(replacement.Begin());
    }
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file"));
    EXPECT_EQ(testfiles::Read(dir / "file"), "old");
}

TEST(AtomicFile, IsRemoved_WhenItCannotBeCommitted) {
    const Workspace dir;
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    {
        AtomicFile replacement({directory.Get(), "file"});
        ASSERT_TRUE(replacement.Begin());
        fs::create_directory(dir / "file");
        EXPECT_EQ(replacement.Commit(), Result(EISDIR));
    }
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file"));
}

TEST(AtomicFile, RefusesADirectoryAsTarget) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    EXPECT_EQ(AtomicFile({directory.Get(), "sub"}).Begin(), Result(EISDIR));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("sub"));
}
