// What a run will touch is saved where nobody can take it away, or nothing has become of it.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

#include "apply/Recovery.h"
#include "apply/SavedState.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Mount.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/RunningScript.h"
#include "tests/support/SkippedPauses.h"
#include "tests/support/TestFiles.h"
#include "tests/unit/apply/SavedTree.h"

namespace Zorvane::AgentInstaller::Apply {
namespace {

namespace fs = std::filesystem;
using Preview::Touch;
using testfiles::Write;
using Saving = SavedTree;

TEST_F(Saving, WhatLiesOnTheRootFileSystemIsKeptThere_WhereVarIsAnother) {
    const auto root = testsupport::Mount::Tmpfs("/opt/root", "mode=0755");
    fs::create_directory("/opt/root/proc");
    const auto processes = testsupport::Mount::Bind("/proc", "/opt/root/proc");
    const auto var = testsupport::Mount::Tmpfs("/opt/root/var");
    fs::create_directory("/opt/root/var/lib");
    Write("/opt/root/file", "old");
    testsupport::WithRoot("/opt/root", [&] {
        Saved({{"/file", Touch::Replace}});
        const auto journal = ReadJournal();
        ASSERT_TRUE(journal);
        EXPECT_EQ(journal->stores,
                  (std::vector<std::string>{"/.qdn-configure-saved", "/var/lib/qdn-configure/saved"}));
        EXPECT_EQ(fs::hard_link_count("/file"), 2U);
        fs::remove("/file");
        Write("/file", "new");
        EXPECT_TRUE(UndoAttempt());
        EXPECT_EQ(testfiles::Read("/file"), "old");
        EXPECT_FALSE(testfiles::Exists("/.qdn-configure-saved"));
    });
}

TEST_F(Saving, AFileBesideTheMainStoreIsSavedAndKeptAsideItself) {
    Write("/var/lib/t/file", "old");
    const auto inode = Identity(L"/var/lib/t/file");
    Saved({{"/var/lib/t/file", Touch::Replace}});
    fs::remove("/var/lib/t/file");
    Write("/var/lib/t/file", "new");
    const auto ofTheAttempt = Identity(L"/var/lib/t/file");
    ExpectPutBack();
    EXPECT_EQ(Identity(L"/var/lib/t/file"), inode);
    EXPECT_EQ(Identity(L"/var/lib/qdn-configure/failed/var/lib/t/file"), ofTheAttempt);
    fs::remove_all("/var/lib/t");
}

TEST_F(Saving, WhatOthersCanTakeAwayIsCopied) {
    Write("/tmp/of-run", "old", 0600);
    Saved({{"/tmp/of-run", Touch::Replace}});
    EXPECT_EQ(fs::hard_link_count("/tmp/of-run"), 1U);
    fs::remove("/tmp/of-run");
    ExpectPutBack();
    EXPECT_EQ(testfiles::Read("/tmp/of-run"), "old");
    EXPECT_EQ(testfiles::Mode("/tmp/of-run"), 0600U);
    fs::remove("/tmp/of-run");
}

TEST_F(Saving, WhatIsInADirectoryOfAnotherUsersIsCopied_WhateverItsMode) {
    ASSERT_EQ(chown("/opt/t", 12, 34), 0);
    Saved({{"/opt/t/file", Touch::Replace}, {"/opt/t/dir", Touch::Replace}});
    EXPECT_EQ(fs::hard_link_count("/opt/t/file"), 1U);
    EXPECT_EQ(fs::hard_link_count("/opt/t/dir/one"), 1U);
    fs::remove("/opt/t/file");
    fs::remove_all("/opt/t/dir");
    ExpectPutBack();
}

TEST_F(Saving, NothingIsKept_WhereTheRunRemovesAll) {
    m_what.ownDirs = {"/opt"};
    Saved({{"/opt/t/dir", Touch::Replace}, {"/opt/t/file", Touch::Replace}});
    EXPECT_FALSE(testfiles::Exists("/opt/.qdn-configure-saved"));
    fs::remove_all("/opt/t/dir");
    fs::remove("/opt/t/file");
    ExpectPutBack();
}

TEST_F(Saving, NothingIsSaved_WhenTheAgentThatRunsCannotBeStopped) {
    const testsupport::RunningScript agent("/opt/t/bin/qdn-pluginmanager.bin");
    Write("/opt/t/bin/rcscript", "#!/bin/sh\necho $1 >>/opt/t/calls\n", 0755);
    m_what.runningAgent = "/opt/t";
    m_what.names.names = {{"/opt/t/file", Touch::Replace}};
    const int seconds = testsupport::SecondsPaused([&] {
        const auto saved = Save(m_what);
        EXPECT_TRUE(!saved && saved.error().text == L"The Zorvane Agent runs and cannot be stopped.");
    });
    EXPECT_EQ(seconds, 5);
    EXPECT_EQ(testfiles::Read("/opt/t/calls"), "stop\nstart\n");
    EXPECT_EQ(FindPhase().value(), Phase::None);
    EXPECT_FALSE(testfiles::Exists("/opt/.qdn-configure-saved"));
}

TEST_F(Saving, NothingIsLeftOrTaken_WhenItCannotBeSaved) {
    Write("/opt/.qdn-configure-saved/somebody's", "");
    m_what.names.names = {{"/opt/t/file", Touch::Replace}};
    const auto saved = Save(m_what);
    ASSERT_FALSE(saved);
    EXPECT_EQ(saved.error().text, L"What the run would touch cannot be saved.");
    EXPECT_EQ(saved.error().reason, L"/opt/.qdn-configure-saved: File exists");
    EXPECT_TRUE(testfiles::Exists("/opt/.qdn-configure-saved/somebody's"));
    EXPECT_EQ(FindPhase().value(), Phase::None);
    EXPECT_EQ(Tree("/opt/t"), m_before);
}

TEST_F(Disturbed, ATreeIsUnchangedOrCanBePutBack_WhicheverCallFailsAsItIsSaved) {
    const auto prepare = [] {
        RemoveTree();
        MakeTree();
        MakeMore();
    };
    const auto save = [&] { return Save(m_what) ? 0 : 1; };
    const int tried = testsupport::FailInTurn(m_calls, EIO, prepare, save, [&](int result) {
        if (result == 0) {
            fs::remove("/opt/t/file");
            Attempt();
        }
        ExpectAsBefore();
    });
    EXPECT_GT(tried, 100);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Apply
