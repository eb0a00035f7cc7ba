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
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/TestFiles.h"
#include "tests/unit/apply/SavedTree.h"

namespace Zorvane::AgentInstaller::Apply {
namespace {

namespace fs = std::filesystem;
using Preview::Touch;
using testfiles::Write;
using Restoring = SavedTree;

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
    EXPECT_TRUE(HasFailedFiles());
}

TEST_F(Restoring, WhatHasOnlyMovedIsNotKeptAside) {
    Saved({{"/opt/t/file", Touch::Replace}, {"/opt/t/moved", Touch::Replace}});
    fs::rename("/opt/t/file", "/opt/t/moved");
    ExpectPutBack();
    EXPECT_FALSE(HasFailedFiles());
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
