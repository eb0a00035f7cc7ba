// Differences are those of diff -u, without passwords, and only of texts.
#include <cerrno>
#include <gmock/gmock.h>
#include <sys/syscall.h>

#include "preview/Diff.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

class Diff : public testing::Test {
  protected:
    /// A file /x with one content, and with another; null stands for no file.
    Change ChangeOf(const char* before, const char* after) {
        Change change;
        change.path = "/x";
        change.action = before == nullptr  ? Action::Create
                        : after == nullptr ? Action::Remove
                                           : Action::Replace;
        change.beforeAt = m_dir / "old";
        change.afterAt = m_dir / "new";
        if (before != nullptr) testfiles::Write(change.beforeAt, before);
        if (after != nullptr) testfiles::Write(change.afterAt, after);
        if (before != nullptr) change.before = ReadState(change.beforeAt).value();
        if (after != nullptr) change.after = ReadState(change.afterAt).value();
        return change;
    }
    Difference Of(const char* before, const char* after) {
        return DifferenceOf(ChangeOf(before, after), m_dir.Path(), m_secrets);
    }
    std::string TextOf(const char* before, const char* after) {
        return Of(before, after).text.value_or("none");
    }

    testfiles::TempDir m_dir;
    std::set<std::string> m_secrets;
};

TEST_F(Diff, IsWhatTheHostsDiffWrites) {
    EXPECT_EQ(TextOf("a\nb\n", "a\nc\n"), "--- /x\n+++ /x\n@@ -1,2 +1,2 @@\n a\n-b\n+c\n");
}

TEST_F(Diff, IsWhatTheHostsDiffWrites_WhenOneSideIsMissing) {
    EXPECT_EQ(TextOf(nullptr, "a\nb\n"), "--- /dev/null\n+++ /x\n@@ -0,0 +1,2 @@\n+a\n+b\n");
    EXPECT_EQ(TextOf("a\n", nullptr), "--- /x\n+++ /dev/null\n@@ -1 +0,0 @@\n-a\n");
    EXPECT_EQ(TextOf(nullptr, "a"),
              "--- /dev/null\n+++ /x\n@@ -0,0 +1 @@\n+a\n\\ No newline at end of file\n");
    EXPECT_EQ(TextOf(nullptr, ""), "");
}

TEST_F(Diff, IsNone_UnlessBothSidesAreText) {
    EXPECT_EQ(TextOf("a\n", "\xff\n"), "none");
    EXPECT_EQ(TextOf("\xff\n", nullptr), "none");
    EXPECT_EQ(TextOf(nullptr, std::string(70000, 'x').c_str()), "none");
    EXPECT_FALSE(IsText(std::string("a\0b", 3)));
    EXPECT_TRUE(IsText("Zürich\n"));
}

TEST_F(Diff, CharactersOfAnyPlaneAreText) {
    EXPECT_TRUE(IsText("\xF0\x9F\x98\x80 \xEE\x80\x80"));
}

TEST_F(Diff, IsNone_WhenAFileIsLarge) {
    EXPECT_EQ(TextOf("a\n", std::string((8 << 20) + 1, '\n').c_str()), "none");
}

TEST_F(Diff, IsNone_WhenItIsLong) {
    const auto sizeOfDiff = [&](std::size_t size) {
        return TextOf((std::string(size, 'a') + "\n").c_str(), (std::string(size, 'b') + "\n").c_str())
            .size();
    };
    constexpr std::size_t kFrame = std::string_view("--- /x\n+++ /x\n@@ -1 +1 @@\n-\n+\n").size();
    constexpr std::size_t kNone = std::string_view("none").size();
    constexpr std::size_t kHalf = (std::size_t{64} << 10) / 2 - kFrame / 2;
    EXPECT_EQ(sizeOfDiff(kHalf), 2 * kHalf + kFrame);
    EXPECT_EQ(sizeOfDiff(kHalf + 1), kNone) << "longer than what is shown of it";
    EXPECT_EQ(sizeOfDiff(std::size_t{5} << 20), kNone) << "longer than what is read of it";
}

TEST_F(Diff, IsNone_WhereTheHostHasNoProgramForIt) {
    const Change change = ChangeOf("a\n", "b\n");
    const testsupport::EnvironmentVariable path("PATH", m_dir.Path());
    EXPECT_EQ(DifferenceOf(change, m_dir.Path(), m_secrets).text.value_or("none"), "none");
    EXPECT_EQ(TextOf(nullptr, "a\n"), "--- /dev/null\n+++ /x\n@@ -0,0 +1 @@\n+a\n") << "it is not needed";
}

TEST_F(Diff, IsWholeOrNone_WhateverFails) {
    const std::string whole = "--- /x\n+++ /x\n@@ -1 +1,2 @@\n a_password=***\n+b=1\n";
    const std::vector<int> calls = {SYS_pipe2, SYS_openat, SYS_write, SYS_clone, SYS_clone3};
    const Change change = ChangeOf("a_password=old!\n", "a_password=new!\nb=1\n");
    const auto compare = [&] {
        const std::string text = DifferenceOf(change, m_dir.Path(), m_secrets).text.value_or("none");
        return text == whole ? 0 : text == "none" ? 1 : 2;
    };
    const int failed = testsupport::FailInTurn(
        calls, EMFILE, [] {}, compare, [](int result) { EXPECT_NE(result, 2); });
    EXPECT_GT(failed, 4);
}

TEST_F(Diff, MasksPasswords) {
    const Difference difference = Of("a_password=old!\n", "a_password=new!\nb=1\n");
    EXPECT_EQ(difference.text, "--- /x\n+++ /x\n@@ -1 +1,2 @@\n a_password=***\n+b=1\n");
    EXPECT_TRUE(difference.hasSecrets);
    EXPECT_THAT(m_secrets, testing::ElementsAre("new!", "old!"));
    EXPECT_TRUE(Of("a_password=\xff\n", nullptr).hasSecrets);
    EXPECT_FALSE(Of("a=1\n", nullptr).hasSecrets);
}

TEST_F(Diff, OfAProgramIsNotLookedAt) {
    const Difference difference = Of("\177ELF a_password=word\n", nullptr);
    EXPECT_FALSE(difference.text);
    EXPECT_FALSE(difference.hasSecrets);
    EXPECT_TRUE(Of("\177ELL a_password=word\n", nullptr).hasSecrets);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
