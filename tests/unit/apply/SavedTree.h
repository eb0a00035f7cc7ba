// A tree that is saved, changed and put back, for the tests of both ends.
#pragma once

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <vector>

#include "apply/Recovery.h"
#include "apply/SavedState.h"
#include "corekit/fs/Keeping.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Apply {

/// Every entry below a directory: type, mode, target or content.
inline std::string Tree(const std::string& top) {
    std::vector<std::string> lines;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(top)) {
        const std::string path = entry.path();
        std::string line =
            path + " " + std::to_string(static_cast<unsigned>(entry.symlink_status().permissions()));
        if (entry.is_symlink()) line += " -> " + std::filesystem::read_symlink(path).string();
        if (!entry.is_symlink() && entry.is_regular_file()) line += " = " + testfiles::Read(path);
        lines.push_back(line);
    }
    std::ranges::sort(lines);
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

inline corekit::Keeping::Identity Identity(const wchar_t* path) {
    return corekit::Keeping::IdentityOf(path).value();
}

/// A tree in /opt/t that is saved, changed and put back.
class SavedTree : public testing::Test {
  protected:
    SavedTree() {
        MakeTree();
        m_before = Tree("/opt/t");
    }
    ~SavedTree() override { RemoveTree(); }

    static void MakeTree() {
        testfiles::Write("/opt/t/file", "old", 0640);
        testfiles::Write("/opt/t/dir/one", "1");
        testfiles::Write("/opt/t/dir/deep/two", "2");
        std::filesystem::create_symlink("file", "/opt/t/link");
    }
    static void RemoveTree() {
        for (const char* tree : {"/opt/t", "/opt/.qdn-configure-saved", "/var/lib/qdn-configure"})
            std::filesystem::remove_all(tree);
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

/// An attempt on a tree that touches it in every way, with whatever call fails before or after it.
class Disturbed : public SavedTree {
  protected:
    Disturbed() {
        using Preview::Touch;
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
        std::filesystem::create_directory("/opt/t/bare");
        testfiles::Write("/opt/t/from/three", "3");
        testfiles::SetAttribute("/opt/t/dir", "user.note", "old");
    }
    static void Attempt() {
        namespace fs = std::filesystem;
        fs::remove("/opt/t/bare");
        testfiles::Write("/opt/t/bare", "a file");
        fs::create_directory("/opt/t/to");
        fs::rename("/opt/t/from", "/opt/t/to/from");
        testfiles::Write("/opt/t/to/from/three", "changed");
        fs::remove_all("/opt/t/dir/deep");
        fs::remove("/opt/t/link");
        testfiles::Write("/opt/t/new/file", "new");
        testfiles::Write("/opt/t/.file.unfinished", "new");
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

}  // namespace Zorvane::AgentInstaller::Apply
