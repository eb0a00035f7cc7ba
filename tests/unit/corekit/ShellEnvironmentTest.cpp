// Which variables a shell command gets.
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "corekit/ShellEnvironment.h"

namespace {

/// What a command gets of these variables.
std::vector<std::string> Passed(std::vector<std::string> variables) {
    std::vector<char*> pointers;
    for (std::string& variable : variables) pointers.push_back(variable.data());
    pointers.push_back(nullptr);

    char** const before = environ;
    environ = pointers.data();
    const std::vector<char*> passed = corekit::ShellEnvironment();
    environ = before;

    EXPECT_EQ(passed.back(), nullptr);
    return {passed.begin(), passed.end() - 1};
}

using Variables = std::vector<std::string>;

}  // namespace

TEST(ShellEnvironment, PassesWhatCommandsNeed) {
    const Variables variables = {"PATH=/opt/bin:/bin", "HOME=/root", "TERM=xterm",    "TZ=UTC",    "empty=",
                                 "LANGUAGES=x",        "LDFLAGS=x",  "ENVIRONMENT=x", "XLC_ALL=x", "PS1=$ "};
    Variables expected = variables;
    expected.emplace_back("LC_ALL=POSIX");
    EXPECT_EQ(Passed(variables), expected);
}

TEST(ShellEnvironment, SetsThePosixLocaleAndNoOther) {
    EXPECT_EQ(
        Passed({"LANG=de_DE.UTF-8", "LC_ALL=de_DE", "LC_CTYPE=de_DE", "LC_MESSAGES=de_DE", "LANGUAGE=de"}),
        Variables{"LC_ALL=POSIX"});
}

TEST(ShellEnvironment, LeavesOutWhatChangesShellsLoadersAndTools) {
    for (const char* name :
         {"LD_PRELOAD", "LD_LIBRARY_PATH", "LD_AUDIT", "IFS", "BASH_ENV", "ENV", "SHELLOPTS", "BASHOPTS",
          "CDPATH", "GLOBIGNORE", "PS4", "BASH_FUNC_grep%%", "BASH_XTRACEFD", "POSIXLY_CORRECT", "FPATH",
          "GREP_OPTIONS", "PS_FORMAT", "PS_PERSONALITY", "COLUMNS"}) {
        EXPECT_EQ(Passed({std::string(name) + "=x", "A=b", std::string(name) + "="}),
                  (Variables{"A=b", "LC_ALL=POSIX"}))
            << name;
    }
}

TEST(ShellEnvironment, LeavesOutFunctions) {
    EXPECT_EQ(Passed({"grep=() { echo YES; }", "A=(b)"}), (Variables{"A=(b)", "LC_ALL=POSIX"}));
}

TEST(ShellEnvironment, TakesAnEmptyEnvironment) {
    EXPECT_EQ(Passed({}), Variables{"LC_ALL=POSIX"});
    char** const before = environ;
    environ = nullptr;
    const std::size_t count = corekit::ShellEnvironment().size();
    environ = before;
    EXPECT_EQ(count, 2U);
}
