// What was saved is put back, whatever has become of it, and however often that is begun.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "apply/FailedFiles.h"
#include "apply/Recovery.h"
#include "apply/Restore.h"
#include "apply/SavedState.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Mount.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/RunningScript.h"
#include "tests/support/SkippedPauses.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Apply {
namespace {

namespace fs = std::filesystem;
using Preview::Touch;
using testfiles::Write;

/// Every entry below a directory: type, mode, target or content.
std::string Tree(const std::string& top) {
    std::vector<std::string> lines;
    for (const auto& entry : fs::recursive_directory_iterator(top)) {
        const std::string path = entry.path();
        std::string line =
            path + " " + std::to_string(static_cast<unsigned>(entry.symlink_status().permissions()));
        if (entry.is_symlink()) line += " -> " + fs::read_symlink(path).string();
        if (!entry.is_symlink() && entry.is_regular_file()) line += " = " + testfiles::Read(path);
        lines.push_back(line);
    }
    std::ranges::sort(lines);
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

corekit::Keeping::Identity Identity(const wchar_t* path) {
    return corekit::Keeping::IdentityOf(path).value();
}

/// A tree in /opt/t that is saved, changed and put back.
class Restoring : public testing::Test {
  protected:
    Restoring() {
        MakeTree();
        m_before = Tree("/opt/t");
    }
    ~Restoring() override { RemoveTree(); }

    static void MakeTree() {
        Write("/opt/t/file", "old", 0640);
        Write("/opt/t/dir/one", "1");
        Write("/opt/t/dir/deep/two", "2");
        fs::create_symlink("file", "/opt/t/link");
    }
    static void RemoveTree() {
        for (const char* tree : {"/opt/t", "/opt/.qdn-configure-saved", "/var/lib/qdn-configure"})
            fs::remove_all(tree);
    }

    void Saved(const std::vector<Preview::Touched>& names,
               const std::vector<Preview::MovedDirectory>& moves = {}) {
        m_what.names = {names, moves};
        const auto saved = Save(m_what);
        ASSERT_TRUE(saved) << saved.error().text.Utf8() << saved.error().reason.Utf8();
    }
    void ExpectPutBack() {
        const auto undone = UndoAttempt();
        EXPECT_TRUE(undone) << undone.error().text.Utf8() << undone.error().reason.Utf8();
        EXPECT_EQ(Tree("/opt/t"), m_before);
        EXPECT_FALSE(testfiles::Exists("/opt/.qdn-configure-saved"));
        EXPECT_EQ(FindPhase().value(), Phase::None);
    }

    ToSave m_what;
    std::string m_before;
};

TEST_F(Restoring, AFileThatWasReplacedIsBack_WithItsModeAndInode) {
    const auto inode = Identity(L"/opt/t/file");
    Saved({{"/opt/t/file", Touch::Replace}});
    Write("/opt/t/.file.unfinished", "new");
    fs::rename("/opt/t/.file.unfinished", "/opt/t/file");
    chmod("/opt/t/file", 0777);
    ExpectPutBack();
    EXPECT_EQ(Identity(L"/opt/t/file"), inode);
    EXPECT_EQ(testfiles::Read("/var/lib/qdn-configure/failed/opt/t/file"), "new");
}

TEST_F(Restoring, AFileThatWasEditedInPlaceIsBack) {
    Saved({{"/opt/t/file", Touch::Edit}});
    Write("/opt/t/file", "changed");
    ExpectPutBack();
}

TEST_F(Restoring, AModeThatWasChangedIsBack) {
    Saved({{"/opt/t/file", Touch::Replace}, {"/opt/t/dir", Touch::Access}});
    chmod("/opt/t/file", 0777);
    chmod("/opt/t/dir", 0700);
    ExpectPutBack();
}

TEST_F(Restoring, WhatWasMadeIsGone_AndKeptAside) {
    Saved({{"/opt/t/new", Touch::Replace}});
    Write("/opt/t/new/deep/file", "made");
    ExpectPutBack();
    EXPECT_EQ(testfiles::Read("/var/lib/qdn-configure/failed/opt/t/new/deep/file"), "made");
    EXPECT_TRUE(HasKeptFiles());
}

TEST_F(Restoring, ATreeThatWasRemovedIsBack) {
    Saved({{"/opt/t/dir", Touch::Replace}, {"/opt/t/link", Touch::Replace}});
    fs::remove_all("/opt/t/dir");
    fs::remove("/opt/t/link");
    ExpectPutBack();
}

TEST_F(Restoring, DirectoriesThatWereRemovedHaveTheirAttributesBack) {
    for (const char* directory : {"/opt/t/dir", "/opt/t/dir/deep"})
        ASSERT_EQ(setxattr(directory, "user.note", "kept", 4, 0), 0);
    Saved({{"/opt/t/dir", Touch::Replace}});
    fs::remove_all("/opt/t/dir");
    ExpectPutBack();
    for (const char* directory : {"/opt/t/dir", "/opt/t/dir/deep"}) {
        char value[8] = {};
        EXPECT_EQ(getxattr(directory, "user.note", value, sizeof value), 4) << directory;
        EXPECT_STREQ(value, "kept") << directory;
    }
}

TEST_F(Restoring, AProgramHasItsOwnerBack_AndKeepsItsCapabilities) {
    using namespace std::string_literals;
    const std::string capabilities =
        "\x01\0\0\x02\0\x04\0\0\0\0\0\0\0\0\0\0\0\0\0\0"s;  // cap_net_bind_service=ep
    testfiles::SetAttribute("/opt/t/file", "security.capability", capabilities);
    Saved({{"/opt/t/file", Touch::Replace}});
    ASSERT_EQ(chown("/opt/t/file", 12, 34), 0);
    testfiles::SetAttribute("/opt/t/file", "security.capability", capabilities);
    ExpectPutBack();
    EXPECT_EQ(testfiles::Attribute("/opt/t/file", "security.capability"), capabilities);
}

TEST_F(Restoring, AttributesThatWereChangedAddedOrRemovedAreBack) {
    testfiles::SetAttribute("/opt/t/dir", "user.changed", "old");
    testfiles::SetAttribute("/opt/t/dir", "user.removed", "old");
    Saved({{"/opt/t/dir", Touch::Access}});
    testfiles::SetAttribute("/opt/t/dir", "user.changed", "new");
    ASSERT_EQ(removexattr("/opt/t/dir", "user.removed"), 0);
    testfiles::SetAttribute("/opt/t/dir", "user.added", "new");
    ExpectPutBack();
    EXPECT_EQ(testfiles::Attribute("/opt/t/dir", "user.changed"), "old");
    EXPECT_EQ(testfiles::Attribute("/opt/t/dir", "user.removed"), "old");
    EXPECT_EQ(testfiles::Attribute("/opt/t/dir", "user.added"), "none");
}

TEST_F(Restoring, WhatIsSavedStaysKnown_WhenNobodyCanTellWhatThereIs) {
    Saved({{"/opt/t/file", Touch::Replace}});
    EXPECT_EQ(testsupport::WithFailing({{SYS_newfstatat, EMFILE}}, [] { return Discard() ? 0 : EMFILE; }),
              EMFILE);
    ExpectPutBack();
}

TEST_F(Restoring, ATreeThatWasRemovedInPartIsBack) {
    Saved({{"/opt/t/dir", Touch::Replace}});
    fs::remove("/opt/t/dir/deep/two");
    Write("/opt/t/dir/other", "");
    ExpectPutBack();
}

TEST_F(Restoring, OneTypeIsBack_WhereAnotherStands) {
    Saved({{"/opt/t/dir", Touch::Replace}, {"/opt/t/file", Touch::Replace}, {"/opt/t/link", Touch::Replace}});
    fs::remove_all("/opt/t/dir");
    Write("/opt/t/dir", "a file");
    fs::remove("/opt/t/file");
    fs::create_directories("/opt/t/file/deep");
    fs::remove("/opt/t/link");
    Write("/opt/t/link", "no link");
    ExpectPutBack();
}

TEST_F(Restoring, ADirectoryThatHasMovedIsMovedBack) {
    const auto moved = Identity(L"/opt/t/dir/deep");
    Saved({{"/opt/t/dir", Touch::Replace}, {"/opt/t/to", Touch::Replace}},
          {{"/opt/t/dir/deep", "/opt/t/to/deep"}});
    EXPECT_EQ(testfiles::NamesIn("/opt/.qdn-configure-saved/0"), std::vector<std::string>{"one"});
    fs::create_directory("/opt/t/to");
    fs::rename("/opt/t/dir/deep", "/opt/t/to/deep");
    fs::remove_all("/opt/t/dir");
    ExpectPutBack();
    EXPECT_EQ(Identity(L"/opt/t/dir/deep"), moved);
}

TEST_F(Restoring, ADirectoryThatHasMovedIsMovedBack_ThoughItHasChangedAndAnotherStandsInItsPlace) {
    for (const Touch touch : {Touch::Access, Touch::Replace}) {
        const auto moved = Identity(L"/opt/t/dir/deep");
        Saved({{"/opt/t/dir", Touch::Access}, {"/opt/t/dir/deep", touch}, {"/opt/t/to", Touch::Replace}},
              {{"/opt/t/dir/deep", "/opt/t/to/deep"}});
        fs::create_directory("/opt/t/to");
        fs::rename("/opt/t/dir/deep", "/opt/t/to/deep");
        chmod("/opt/t/to/deep", 0700);
        Write("/opt/t/dir/deep/other", "made anew");
        ExpectPutBack();
        EXPECT_EQ(Identity(L"/opt/t/dir/deep"), moved);
    }
}

TEST_F(Restoring, ADirectoryThatWasToMoveStays) {
    Saved({{"/opt/t/dir", Touch::Replace}, {"/opt/t/to", Touch::Replace}},
          {{"/opt/t/dir/deep", "/opt/t/to/deep"}});
    fs::create_directory("/opt/t/to");
    ExpectPutBack();
}

TEST_F(Restoring, ADirectoryThatWasCopiedAwayIsBack_WhetherTheOldOneIsThereOrNot) {
    for (const bool isOldThere : {true, false}) {
        Saved({{"/opt/t/dir", Touch::Access}, {"/opt/t/to", Touch::Replace}},
              {{"/opt/t/dir/deep", "/opt/t/to"}});
        fs::copy("/opt/t/dir/deep", "/opt/t/to");
        if (!isOldThere) fs::remove_all("/opt/t/dir/deep");
        ExpectPutBack();
    }
}

TEST_F(Restoring, TemporaryFilesOfARunGo_AndOthersStay) {
    m_what.agentDirs = {"/opt/t/dir"};
    Saved({{"/opt/t", Touch::Access}, {"/opt/t/dir", Touch::Access}, {"/opt/t/file", Touch::Replace}});
    for (const char* name : {"/opt/t/.file.unfinished", "/opt/t/.file.x1Y2z3", "/opt/t/dir/mark"})
        Write(name, "");
    const std::vector<std::string> others = {"/opt/t/other", "/opt/t/.other.unfinished", "/opt/t/.file.none",
                                             "/opt/t/.hidden", "/opt/t/dir/theirs"};
    for (const std::string& name : others) Write(name, "");
    ASSERT_EQ(chown("/opt/t/dir/theirs", 1234, 1234), 0);
    ASSERT_TRUE(UndoAttempt());
    EXPECT_FALSE(testfiles::Exists("/opt/t/.file.unfinished"));
    EXPECT_FALSE(testfiles::Exists("/opt/t/.file.x1Y2z3"));
    EXPECT_FALSE(testfiles::Exists("/opt/t/dir/mark"));
    for (const std::string& name : others) EXPECT_TRUE(testfiles::Exists(name)) << name;
}

TEST_F(Restoring, NothingIsSaved_WhenTheAgentThatRunsCannotBeStopped) {
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

TEST_F(Restoring, WhatStandsInThePlaceOfADirectoryIsKeptAside) {
    fs::create_directory("/opt/t/bare");
    chmod("/opt/t/bare", 0710);
    m_before = Tree("/opt/t");
    Saved({{"/opt/t/bare", Touch::Access}});
    fs::remove("/opt/t/bare");
    Write("/opt/t/bare", "a file");
    ExpectPutBack();
    EXPECT_EQ(testfiles::Read("/var/lib/qdn-configure/failed/opt/t/bare"), "a file");
}

TEST_F(Restoring, WhatIsGoneAltogetherIsNoFailure) {
    Saved({{"/opt/t/dir", Touch::Access}, {"/opt/t/to", Touch::Replace}, {"/opt/t/file", Touch::Replace}},
          {{"/opt/t/dir/deep", "/opt/t/to"}});
    fs::remove_all("/opt/t/dir/deep");
    fs::remove_all("/opt/.qdn-configure-saved");
    fs::remove("/opt/t/file");
    m_before = Tree("/opt/t");
    ExpectPutBack();
}

TEST_F(Restoring, AFileBesideTheMainStoreIsSavedAndKeptAsideItself) {
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

TEST_F(Restoring, WhatIsLargeOrNoFileIsNotKeptAside) {
    Saved({{"/opt/t/pipe", Touch::Replace},
           {"/opt/t/large", Touch::Replace},
           {"/opt/t/small", Touch::Replace}});
    ASSERT_EQ(mkfifo("/opt/t/pipe", 0600), 0);
    Write("/opt/t/large", std::string(2 << 20, 'x'));
    Write("/opt/t/small", "x");
    ExpectPutBack();
    EXPECT_EQ(testfiles::NamesIn("/var/lib/qdn-configure/failed/opt/t"), std::vector<std::string>{"small"});
}

TEST_F(Restoring, TheFirstThatCannotBePutBackIsTold_AndTheNextTryPutsAllBack) {
    Saved({{"/opt/t/dir/one", Touch::Replace}, {"/opt/t/file", Touch::Replace}});
    for (const char* file : {"/opt/t/dir/one", "/opt/t/file"}) {
        fs::remove(file);
        Write(file, "new");
    }
    testsupport::WithFailing({{SYS_rename, EIO}, {SYS_renameat, EIO}, {SYS_renameat2, EIO}}, [] {
        const auto undone = UndoAttempt();
        EXPECT_FALSE(undone);
        EXPECT_EQ(undone.error().text, L"Not everything could be put back.");
        EXPECT_TRUE(undone.error().reason.Contains(L"Input/output error")) << undone.error().reason.Utf8();
        EXPECT_FALSE(undone.error().reason.Contains(L"file")) << undone.error().reason.Utf8();
        return 0;
    });
    ExpectPutBack();
}

TEST_F(Restoring, WhatHoldsADirectoryThatCannotBeMovedIsLeftToTheNextTry) {
    Saved({{"/opt/t/dir", Touch::Replace}, {"/opt/t/to", Touch::Replace}},
          {{"/opt/t/dir/deep", "/opt/t/to/deep"}});
    fs::remove("/opt/t/dir/one");
    testsupport::WithFailing({{SYS_rename, EIO}, {SYS_renameat, EIO}, {SYS_renameat2, EIO}}, [] {
        const auto undone = UndoAttempt();
        EXPECT_FALSE(undone);
        EXPECT_EQ(undone.error().text, L"Not everything could be put back.");
        EXPECT_EQ(undone.error().reason, L"/opt/t/dir/deep: Input/output error");
        EXPECT_EQ(testfiles::Read("/opt/t/dir/deep/two"), "2");
        return 0;
    });
    ExpectPutBack();
}

TEST_F(Restoring, WhatLiesOnTheRootFileSystemIsKeptThere_WhereVarIsAnother) {
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

TEST_F(Restoring, WhatOthersCanTakeAwayIsCopied) {
    Write("/tmp/of-run", "old", 0600);
    Saved({{"/tmp/of-run", Touch::Replace}});
    EXPECT_EQ(fs::hard_link_count("/tmp/of-run"), 1U);
    fs::remove("/tmp/of-run");
    ExpectPutBack();
    EXPECT_EQ(testfiles::Read("/tmp/of-run"), "old");
    EXPECT_EQ(testfiles::Mode("/tmp/of-run"), 0600U);
    fs::remove("/tmp/of-run");
}

TEST_F(Restoring, WhatIsInADirectoryOfAnotherUsersIsCopied_WhateverItsMode) {
    ASSERT_EQ(chown("/opt/t", 12, 34), 0);
    Saved({{"/opt/t/file", Touch::Replace}, {"/opt/t/dir", Touch::Replace}});
    EXPECT_EQ(fs::hard_link_count("/opt/t/file"), 1U);
    EXPECT_EQ(fs::hard_link_count("/opt/t/dir/one"), 1U);
    fs::remove("/opt/t/file");
    fs::remove_all("/opt/t/dir");
    ExpectPutBack();
}

TEST_F(Restoring, NothingIsKept_WhereTheRunRemovesAll) {
    m_what.ownDirs = {"/opt"};
    Saved({{"/opt/t/dir", Touch::Replace}, {"/opt/t/file", Touch::Replace}});
    EXPECT_FALSE(testfiles::Exists("/opt/.qdn-configure-saved"));
    fs::remove_all("/opt/t/dir");
    fs::remove("/opt/t/file");
    ExpectPutBack();
}

TEST_F(Restoring, NothingIsLeftOrTaken_WhenItCannotBeSaved) {
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

TEST_F(Restoring, ASecondTimeChangesNothing) {
    Saved({{"/opt/t/dir", Touch::Replace}, {"/opt/t/file", Touch::Replace}, {"/opt/t/new", Touch::Replace}});
    fs::remove_all("/opt/t/dir");
    Write("/opt/t/new", "");
    const auto journal = ReadJournal();
    ASSERT_TRUE(journal);
    ASSERT_TRUE(Restore(*journal));
    EXPECT_EQ(Tree("/opt/t"), m_before);
    ExpectPutBack();
}

/// An attempt on a tree that touches it in every way, with whatever call fails before or after it.
class Disturbed : public Restoring {
  protected:
    Disturbed() {
        m_what.names.names = {{"/opt/t", Touch::Access},           {"/opt/t/dir", Touch::Access},
                              {"/opt/t/dir/deep", Touch::Replace}, {"/opt/t/file", Touch::Replace},
                              {"/opt/t/link", Touch::Edit},        {"/opt/t/new", Touch::Replace},
                              {"/opt/t/bare", Touch::Access},      {"/opt/t/from/three", Touch::Edit},
                              {"/opt/t/to", Touch::Replace}};
        m_what.names.moves = {{"/opt/t/from", "/opt/t/to/from"}};
        MakeMore();
        m_before = Tree("/opt/t");
        m_calls = testsupport::kFileCalls;
        m_calls.insert(m_calls.end(), {SYS_lgetxattr, SYS_llistxattr, SYS_lsetxattr, SYS_lremovexattr});
    }

    static void MakeMore() {
        fs::create_directory("/opt/t/bare");
        Write("/opt/t/from/three", "3");
        testfiles::SetAttribute("/opt/t/dir", "user.note", "old");
    }
    static void Attempt() {
        fs::remove("/opt/t/bare");
        Write("/opt/t/bare", "a file");
        fs::create_directory("/opt/t/to");
        fs::rename("/opt/t/from", "/opt/t/to/from");
        Write("/opt/t/to/from/three", "changed");
        fs::remove_all("/opt/t/dir/deep");
        fs::remove("/opt/t/link");
        Write("/opt/t/new/file", "new");
        Write("/opt/t/.file.unfinished", "new");
        fs::copy_file("/opt/t/new/file", "/opt/t/file", fs::copy_options::overwrite_existing);
        chmod("/opt/t/dir", 0700);
        chmod("/opt/t/file", 0777);
        testfiles::SetAttribute("/opt/t/dir", "user.note", "new");
        testfiles::SetAttribute("/opt/t/dir", "user.added", "new");
    }
    void ExpectAsBefore() const {
        testsupport::Captured([] { EXPECT_TRUE(FinishFormerApply()); });  // it says what it has found
        EXPECT_EQ(Tree("/opt/t"), m_before);
        EXPECT_EQ(testfiles::Attribute("/opt/t/dir", "user.note"), "old");
        EXPECT_EQ(testfiles::Attribute("/opt/t/dir", "user.added"), "none");
        EXPECT_EQ(FindPhase().value(), Phase::None);
    }

    std::vector<int> m_calls;
};

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

TEST_F(Disturbed, ATreeIsPutBackByTheNextTry_WhicheverCallFailsInTheFirst) {
    const auto prepare = [&] {
        RemoveTree();
        MakeTree();
        MakeMore();
        Saved(m_what.names.names, m_what.names.moves);
        fs::remove("/opt/t/file");
        Attempt();
    };
    const auto undo = [] { return UndoAttempt() ? 0 : 1; };
    EXPECT_GT(testsupport::FailInTurn(m_calls, EIO, prepare, undo, [&](int) { ExpectAsBefore(); }), 100);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Apply
