// The application frame: which command runs, what is shown and which status comes back.
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "corekit/os/Application.h"
#include "corekit/os/Console.h"
#include "corekit/os/TemporaryFile.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

using corekit::CommandBasedApp;
using corekit::String;

namespace {

/// Returns a status and remembers its arguments.
class Recorder : public CommandBasedApp::Command {
  public:
    Recorder(unsigned status, std::vector<String>& arguments) : m_status(status), m_arguments(arguments) {}
    unsigned Run(const std::vector<String>& arguments) override {
        m_arguments = arguments;
        return m_status;
    }
    void Usage(const String& prefix) const override { corekit::Console::Out(prefix.Utf8() + " [options]\n"); }
    String Description() const override { return L"Returns a status."; }

  private:
    unsigned m_status;
    std::vector<String>& m_arguments;
};

class App : public CommandBasedApp {
  public:
    using CommandBasedApp::CommandBasedApp;
    int AppMain() override { return Run(); }
};

struct Outcome {
    int status = -1;
    testsupport::Output output;
    std::vector<String> arguments = {L"not run"};
};

/// Runs "tool" with commands that return 0, 1 and 120.
Outcome RunTool(std::vector<const char*> line) {
    Outcome outcome;
    App app(static_cast<int>(line.size()), line.data());
    app.SetName(L"tool");
    app.SetProduct(L"toolbox");
    app.SetVersion(L"2.10");
    app.RegisterCommand(L"-succeed", std::make_unique<Recorder>(0, outcome.arguments));
    app.RegisterCommand(L"-fail", std::make_unique<Recorder>(1, outcome.arguments));
    app.RegisterCommand(L"-misuse", std::make_unique<Recorder>(120, outcome.arguments));
    outcome.output = testsupport::Captured([&] { outcome.status = app.AppMain(); });
    return outcome;
}

constexpr const char* kList =
    "Usage: tool <command> [options]\n"
    "\n"
    "Commands:\n"
    "  -succeed  Returns a status.\n"
    "  -fail     Returns a status.\n"
    "  -misuse   Returns a status.\n"
    "  -help     List the commands and tell the version; with a command, show how it is used.\n"
    "  -version  Tell the version.\n"
    "\n"
    "The manual page toolbox(8) tells the rest.\n";

constexpr const char* kHelpWords[] = {"-help", "-h", "--help", "help"};

using Arguments = std::vector<String>;

/// Which of the descriptors 0 to 2 are /dev/null, as bits.
unsigned StreamsOnNull() {
    struct stat null {};
    stat("/dev/null", &null);
    unsigned streams = 0;
    for (int fd = 0; fd <= 2; ++fd) {
        struct stat info {};
        if (fstat(fd, &info) == 0 && info.st_rdev == null.st_rdev) streams |= 1U << fd;
    }
    return streams;
}

}  // namespace

TEST(CommandBasedApp, RunsTheCommandOfTheFirstArgument) {
    const Outcome outcome = RunTool({"tool", "-succeed", "-fail", "", "caf\xe9", "\xe2\x82\xac"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.arguments, (Arguments{L"-fail", L"", L"caf\xDCE9", L"\u20AC"}));
    EXPECT_EQ(outcome.output.out, "");
    EXPECT_EQ(outcome.output.err, "");
}

TEST(CommandBasedApp, GivesBackTheStatusOfAFailure) {
    const Outcome outcome = RunTool({"tool", "-fail"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.arguments, Arguments());
    EXPECT_EQ(outcome.output.out, "");
    EXPECT_EQ(outcome.output.err, "");
}

TEST(CommandBasedApp, ShowsTheUsageOfACommandThatIsMisused) {
    const Outcome outcome = RunTool({"tool", "-misuse", "x"});
    EXPECT_EQ(outcome.status, 120);
    EXPECT_EQ(outcome.arguments, Arguments{L"x"});
    EXPECT_EQ(outcome.output.out, "Usage: tool -misuse [options]\n");
    EXPECT_EQ(outcome.output.err, "");
}

TEST(CommandBasedApp, ListsTheCommandsWithoutACommandWord) {
    for (const std::vector<const char*>& line : {std::vector<const char*>{"tool"}, {}}) {
        const Outcome outcome = RunTool(line);
        EXPECT_EQ(outcome.status, 120);
        EXPECT_EQ(outcome.arguments, Arguments{L"not run"});
        EXPECT_EQ(outcome.output.out, kList);
        EXPECT_EQ(outcome.output.err, "");
    }
}

TEST(CommandBasedApp, NamesAnUnknownCommand) {
    struct Row {
        const char* word;
        const char* error;
    };
    constexpr Row rows[] = {
        {"-what", "Unknown command '-what'.\n"},
        {"-Fail", "Unknown command '-Fail'.\n"},
        {"-fai", "Unknown command '-fai'.\n"},
        {"", "Unknown command ''.\n"},
        {"-a\x1b[2J\n%1", "Unknown command '-a\\x1b[2J\\x0a%1'.\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.word);
        const Outcome outcome = RunTool({"tool", row.word});
        EXPECT_EQ(outcome.status, 120);
        EXPECT_EQ(outcome.arguments, Arguments{L"not run"});
        EXPECT_EQ(outcome.output.out, kList);
        EXPECT_EQ(outcome.output.err, row.error);
    }
}

TEST(CommandBasedApp, ListsTheCommandsAndTheVersion_WhenAskedForHelp) {
    for (const char* word : kHelpWords) {
        const Outcome outcome = RunTool({"tool", word});
        EXPECT_EQ(outcome.status, 0) << word;
        EXPECT_EQ(outcome.output.out, std::string(kList) + "This is version 2.10.\n") << word;
        EXPECT_EQ(outcome.output.err, "") << word;
    }
}

TEST(CommandBasedApp, ShowsTheUsageOfACommand_WhenAskedForHelpOnIt) {
    for (const char* word : kHelpWords) {
        const Outcome outcome = RunTool({"tool", word, "-misuse"});
        EXPECT_EQ(outcome.status, 0) << word;
        EXPECT_EQ(outcome.arguments, Arguments{L"not run"}) << word;
        EXPECT_EQ(outcome.output.out, "Usage: tool -misuse [options]\n") << word;
        EXPECT_EQ(outcome.output.err, "") << word;
    }
}

TEST(CommandBasedApp, NamesAnUnknownCommand_WhenAskedForHelpOnIt) {
    const Outcome outcome = RunTool({"tool", "-help", "-what"});
    EXPECT_EQ(outcome.status, 120);
    EXPECT_EQ(outcome.output.out, kList);
    EXPECT_EQ(outcome.output.err, "Unknown command '-what'.\n");
}

TEST(CommandBasedApp, ShowsTheVersion_WhenAsked) {
    for (const char* word : {"-version", "--version"}) {
        const Outcome outcome = RunTool({"tool", word});
        EXPECT_EQ(outcome.status, 0) << word;
        EXPECT_EQ(outcome.output.out, "toolbox 2.10\n") << word;
        EXPECT_EQ(outcome.output.err, "") << word;
    }
}

TEST(EndWithoutMemory, WritesItsErrorAfterEarlierOutput) {
    const testfiles::TempDir dir;
    EXPECT_EXIT(
        {
            const int both = open((dir / "both").c_str(), O_CREAT | O_WRONLY, 0600);
            dup2(both, STDOUT_FILENO);
            dup2(both, STDERR_FILENO);
            corekit::Init();
            corekit::Console::Out("said before ");
            std::get_new_handler()();
        },
        testing::ExitedWithCode(1), "");
    EXPECT_EQ(testfiles::Read(dir / "both"), "said before ERROR: Not enough memory.\n");
}

TEST(EndWithoutMemory, RemovesTemporaryFiles) {
    const testfiles::TempDir dir;
    EXPECT_EXIT(
        {
            testfiles::Write(dir / "temporary", "");
            corekit::TemporaryFile file;
            file.Take(dir / "temporary");
            corekit::EndWithoutMemory();
        },
        testing::ExitedWithCode(1), "^ERROR: Not enough memory\\.\n$");
    EXPECT_FALSE(testfiles::Exists(dir / "temporary"));
}

TEST(Init, SetsTheUmask) {
    EXPECT_EXIT(
        {
            umask(077);
            corekit::Init();
            _exit(static_cast<int>(umask(0)));
        },
        testing::ExitedWithCode(022), "");
}

TEST(Init, IgnoresTheSignalsOfFailedWrites) {
    EXPECT_EXIT(
        {
            corekit::Init();
            std::raise(SIGPIPE);
            std::raise(SIGXFSZ);
            _exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST(Init, OpensClosedStandardStreams) {
    for (const unsigned closed : {0U, 1U, 2U, 4U, 5U, 7U}) {
        EXPECT_EXIT(
            {
                const int zero = open("/dev/zero", O_RDWR);
                for (int fd = 0; fd <= 2; ++fd) dup2(zero, fd);
                for (int fd = 0; fd <= 2; ++fd) {
                    if ((closed >> fd & 1) != 0) close(fd);
                }
                corekit::Init();
                _exit(static_cast<int>(StreamsOnNull()));
            },
            testing::ExitedWithCode(static_cast<int>(closed)), "")
            << closed;
    }
}

TEST(Init, OpensClosedStandardStreams_WhereThereAreNoDevices) {
    const testfiles::TempDir root;
    testsupport::WithRoot(root.Path(), [] {
        for (int fd = 0; fd <= 2; ++fd) close(fd);
        corekit::Init();
        for (int fd = 0; fd <= 2; ++fd) EXPECT_GE(fcntl(fd, F_GETFD), 0) << fd;
    });
}

TEST(Init, GoesOn_WhereItCanOpenNothing) {
    EXPECT_EQ(testsupport::WithFailing({{SYS_openat, EMFILE}},
                                       [] {
                                           for (int fd = 0; fd <= 2; ++fd) close(fd);
                                           corekit::Init();
                                           return 7;
                                       }),
              7);
}
