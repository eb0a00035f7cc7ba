// Which variables a shell command gets, and which directories of PATH programs are looked for in.
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "corekit/process/detail/ShellEnvironment.h"
#include "tests/support/EnvironmentVariable.h"

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
