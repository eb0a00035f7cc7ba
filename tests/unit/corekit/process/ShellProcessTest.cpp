// A shell as a child: what it gets of the environment, and that it is noticed when it ends and never left
// behind.
#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "corekit/process/detail/ShellProcess.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/InChild.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/OnceWeWait.h"
#include "tests/support/PrintResult.h"
#include "tests/support/TestFiles.h"

using corekit::ChildEndWatch;
using corekit::Result;
using corekit::ShellProcess;
using testsupport::kOnceWeWait;

namespace {

/// What a command gets of these variables.
std::vector<std::string> Passed(std::vector<std::string> variables) {
    std::vector<char*> pointers;
    for (std::string& variable : variables) pointers.push_back(variable.data());
    pointers.push_back(nullptr);

    char** const before = environ;
    environ = pointers.data();
    const corekit::ShellEnvironment environment;
    environ = before;

    const std::vector<char*>& passed = environment.Variables();
    EXPECT_EQ(passed.back(), nullptr);
    return {passed.begin(), passed.end() - 1};
}

constexpr const char* kUsualPath = "/usr/sbin:/usr/bin:/sbin:/bin";

using Variables = std::vector<std::string>;

/// These variables, and what every command gets when PATH is not among them.
Variables AndTheUsual(Variables variables) {
    variables.emplace_back(std::string("PATH=") + kUsualPath);
    variables.emplace_back("LC_ALL=POSIX");
    return variables;
}

}  // namespace

TEST(ShellEnvironment, PassesWhatCommandsNeed) {
    const Variables variables = {"HOME=/root", "TERM=xterm",    "TZ=UTC",    "empty=", "LANGUAGES=x",
                                 "LDFLAGS=x",  "ENVIRONMENT=x", "XLC_ALL=x", "PS1=$ ", "PATHS=x"};
    EXPECT_EQ(Passed(variables), AndTheUsual(variables));
}

TEST(ShellEnvironment, PassesAnEntryWithoutAValueAsItIs) {
    const Variables variables = {"NOVALUE", "A=b"};
    EXPECT_EQ(Passed(variables), AndTheUsual(variables));
}

TEST(ShellEnvironment, SetsThePosixLocaleAndNoOther) {
    EXPECT_EQ(
        Passed({"LANG=de_DE.UTF-8", "LC_ALL=de_DE", "LC_CTYPE=de_DE", "LC_MESSAGES=de_DE", "LANGUAGE=de"}),
        AndTheUsual({}));
}

TEST(ShellEnvironment, HasTheDirectoriesOfThePathThatAreAbsolute) {
    EXPECT_EQ(Passed({"PATH=.:/opt/bin::/bin:bin", "A=b"}),
              (Variables{"A=b", "PATH=/opt/bin:/bin", "LC_ALL=POSIX"}));
    EXPECT_EQ(Passed({"PATH="}), AndTheUsual({}));
}

TEST(ShellEnvironment, LeavesOutWhatChangesShellsLoadersAndTools) {
    for (const char* name :
         {"LD_PRELOAD", "LD_LIBRARY_PATH", "LD_AUDIT", "IFS", "BASH_ENV", "ENV", "SHELLOPTS", "BASHOPTS",
          "CDPATH", "GLOBIGNORE", "PS4", "BASH_FUNC_grep%%", "BASH_XTRACEFD", "POSIXLY_CORRECT", "FPATH",
          "GREP_OPTIONS", "PS_FORMAT", "PS_PERSONALITY", "COLUMNS"}) {
        EXPECT_EQ(Passed({std::string(name) + "=x", "A=b", std::string(name) + "="}), AndTheUsual({"A=b"}))
            << name;
    }
}

TEST(ShellEnvironment, LeavesOutFunctions) {
    EXPECT_EQ(Passed({"grep=() { echo YES; }", "A=(b)"}), AndTheUsual({"A=(b)"}));
}

TEST(ShellEnvironment, TakesAnEmptyEnvironment) {
    EXPECT_EQ(Passed({}), AndTheUsual({}));
    char** const before = environ;
    environ = nullptr;
    const corekit::ShellEnvironment environment;
    environ = before;
    EXPECT_EQ(environment.Variables().size(), 3U);
}

TEST(SearchPath, HasTheAbsoluteDirectoriesOfThePath) {
    constexpr struct {
        const char* path;
        const char* expected;
    } table[] = {
        {"/opt/bin:/bin", "/opt/bin:/bin"},
        {"/bin", "/bin"},
        {"/a b/c", "/a b/c"},
        {":/bin:", "/bin"},
        {"/bin::/sbin", "/bin:/sbin"},
        {".:/bin:..:bin:../bin:/sbin:.", "/bin:/sbin"},
        {"", kUsualPath},
        {":", kUsualPath},
        {"bin:.", kUsualPath},
    };
    for (const auto& row : table) {
        const testsupport::EnvironmentVariable path("PATH", row.path);
        EXPECT_EQ(corekit::SearchPath(), row.expected) << row.path;
    }
}

TEST(SearchPath, HasTheUsualDirectoriesWithoutAPath) {
    const testsupport::EnvironmentVariable path("PATH", std::nullopt);
    EXPECT_EQ(corekit::SearchPath(), kUsualPath);
}

namespace {

bool IsReadable(const ChildEndWatch& watch, int timeout) {
    pollfd request{watch.Get(), POLLIN, 0};
    return poll(&request, 1, timeout) == 1;
}

bool HasChildren() {
    return waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

}  // namespace

TEST(ShellProcess, HasEndedBeforeItIsStarted) {
    ShellProcess shell;
    EXPECT_TRUE(shell.HasEnded());
}

TEST(ShellProcess, Ends_WhenItsCommandDoes) {
    const ChildEndWatch watch;
    ASSERT_TRUE(watch);
    EXPECT_FALSE(IsReadable(watch, 0));

    int hold[2];
    ASSERT_EQ(pipe(hold), 0);
    ShellProcess shell;
    // Reads the pipe through our own descriptor table, so that it ends when we say so.
    const std::string path = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(hold[0]);
    EXPECT_EQ(shell.Start("read line <" + path, STDERR_FILENO), Result());
    EXPECT_FALSE(shell.HasEnded());

    EXPECT_EQ(write(hold[1], "\n", 1), 1);
    EXPECT_TRUE(IsReadable(watch, -1));
    EXPECT_TRUE(shell.HasEnded());
    watch.Clear();
    EXPECT_FALSE(IsReadable(watch, 0));
    EXPECT_TRUE(shell.HasEnded());
    close(hold[0]);
    close(hold[1]);
}

TEST(ShellProcess, HasNotEnded_WhenTheQuestionIsInterrupted) {
    testsupport::InChild([] {
        int questions = 0;
        testsupport::JudgeCalls({SYS_wait4}, [&](const seccomp_notif&) -> testsupport::Verdict {
            return ++questions <= 3 ? testsupport::Verdict(-EINTR) : std::nullopt;
        });
        ShellProcess shell;
        EXPECT_EQ(shell.Start("exec sleep 0.1", STDERR_FILENO), Result());
        EXPECT_FALSE(shell.HasEnded());
        EXPECT_EQ(questions, 4);
        return 0;
    });
}

TEST(ShellProcess, IsWaitedForByItsOwner) {
    const testfiles::TempDir dir;
    {
        ShellProcess shell;
        EXPECT_EQ(shell.Start(std::string(kOnceWeWait) + "mkdir " + (dir / "done"), STDERR_FILENO), Result());
    }
    EXPECT_TRUE(testfiles::Exists(dir / "done"));
    EXPECT_FALSE(HasChildren());
}

TEST(ShellProcess, HasASessionOfItsOwn) {
    const testfiles::TempDir dir;
    {
        ShellProcess shell;
        const std::string number = "test \"$(cut -d ' ' -f 6 /proc/$$/stat)\" = $$ && mkdir ";
        EXPECT_EQ(shell.Start(number + (dir / "first"), STDERR_FILENO), Result());
    }
    EXPECT_TRUE(testfiles::Exists(dir / "first"));
}

TEST(ShellProcess, IsNotStartedWithACommandLineThatANulCutsShort) {
    ShellProcess shell;
    EXPECT_EQ(shell.Start(std::string("true\0false", 10), STDERR_FILENO), Result(EINVAL));
    EXPECT_TRUE(shell.HasEnded());
    EXPECT_FALSE(HasChildren());
}

TEST(ShellProcess, IsNotStartedWithoutItsOutput) {
    ShellProcess shell;
    EXPECT_EQ(shell.Start("true", -1), Result(EBADF));
    EXPECT_TRUE(shell.HasEnded());
    EXPECT_FALSE(HasChildren());
}

TEST(ChildEndWatch, SeesTheEndOfAChildThoughSigchldWasIgnored) {
    std::signal(SIGCHLD, SIG_IGN);
    {
        const ChildEndWatch watch;
        ShellProcess shell;
        EXPECT_EQ(shell.Start("true", STDERR_FILENO), Result());
        EXPECT_TRUE(IsReadable(watch, -1));
        EXPECT_TRUE(shell.HasEnded());
    }
    EXPECT_EQ(std::signal(SIGCHLD, SIG_DFL), SIG_IGN);
}

TEST(ChildEndWatch, BlocksTheSignal_OnlyAsLongAsItLives) {
    const auto isBlocked = [] {
        sigset_t mask;
        sigprocmask(SIG_SETMASK, nullptr, &mask);
        return sigismember(&mask, SIGCHLD) == 1;
    };
    {
        const ChildEndWatch watch;
        EXPECT_TRUE(isBlocked());
    }
    EXPECT_FALSE(isBlocked());
}
