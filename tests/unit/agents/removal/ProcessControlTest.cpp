// The questions to the host's tools: what is asked, how answers are read, and that values are no commands.
#include <gtest/gtest.h>

#include "agents/removal/ProcessControl.h"
#include "tests/support/Captured.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testfiles::TempDir;
using testsupport::Captured;
using testsupport::ChildProcess;
using testsupport::HostPrograms;
using testsupport::StandIns;

constexpr const char* kConf =
    "# installdir=/commented\n"
    "installdir=/opt//zorvane\n"
    "  bindir =   /usr/bin  \n"
    "\ttabbed=value\n"
    "var=/first\n"
    "var=/second\n"
    "variable=/longer\n"
    "empty=\n"
    "equation=a=b=c\n"
    "tmpdir_extra=/prefix\n";

TEST(QueryValue, ReadsTheFirstLineThatBeginsWithTheKey) {
    const TempDir dir;
    testfiles::Write(dir / "conf", kConf);
    const String conf = String::FromUtf8(dir / "conf");

    const struct {
        const wchar_t* key;
        const wchar_t* value;
    } rows[] = {
        {L"installdir", L"/opt/zorvane"},  // a doubled slash becomes one
        {L"bindir", L"/usr/bin"},          // blanks before the key and around the value
        {L"tabbed", L""},                  // only blanks may stand before the key
        {L"var", L"/first"},               // of two, the first
        {L"variable", L"/longer"},
        {L"empty", L""},
        {L"equation", L"a=b=c"},  // from the first "=" on
        {L"tmpdir", L"/prefix"},  // a key is a prefix
        {L"absent", L""},
        {L"Installdir", L""},
        {L"", L""},
    };
    for (const auto& row : rows) EXPECT_EQ(QueryValue(row.key, conf), row.value) << row.key;
}

TEST(QueryValue, IsEmptyAndSilent_WhenTheFileIsMissing) {
    const auto output = Captured([] {
        EXPECT_EQ(QueryValue(L"var", L"/opt/no-such-file"), L"");
        EXPECT_EQ(QueryValue(L"var", L""), L"");
    });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
}

TEST(QueryValue, IsEmpty_WhenTheFileHasANul) {
    const TempDir dir;
    testfiles::Write(dir / "conf", std::string("bindir=/opt/bin\n\0\0", 18));
    EXPECT_EQ(QueryValue(L"bindir", String::FromUtf8(dir / "conf")), L"");
}

TEST(QueryValue, NeverReadsAKeyOrAPathAsShellCommands) {
    const TempDir dir;
    const std::string planted = dir / "planted";
    testfiles::Write(dir / "it's; touch planted #.conf", "var=/x\n");
    EXPECT_EQ(QueryValue(L"var", String::FromUtf8(dir / "it's; touch planted #.conf")), L"/x");
    QueryValue(String::FromUtf8("'; touch " + planted + "; '"), String::FromUtf8(dir / "conf"));
    EXPECT_FALSE(testfiles::Exists(planted));
}

TEST(QueryProcessIds, AreThoseOfEveryLineWithTheName_JoinedByBlanks) {
    StandIns tools(HostPrograms::TextTools);
    tools.Add("ps",
              "echo 'UID PID PPID CMD'\n"
              "echo 'root      12     1 /usr/sbin/inetd -i'\n"
              "echo 'root     345     1 /usr/sbin/xinetd'\n"
              "echo 'root     678     1 grep inetd'\n"
              "echo 'root     910     1 /usr/sbin/cron'\n");
    EXPECT_EQ(QueryProcessIds(L"inetd"), L"12 345");
    EXPECT_EQ(QueryProcessIds(L"cron"), L"910");
    EXPECT_EQ(QueryProcessIds(L"absent"), L"");
    EXPECT_EQ(tools.Calls(), "ps -ef\nps -ef\nps -ef\n");
}

TEST(QueryProcessIds, AreNone_WhenTheNameIsEmpty) {
    StandIns tools(HostPrograms::TextTools);
    tools.Add("ps", "echo 'root 12 1 inetd'");
    EXPECT_EQ(QueryProcessIds(L""), L"");
    EXPECT_EQ(tools.Calls(), "");
}

TEST(SignalProcesses, ReachesEachProcess) {
    ChildProcess first;
    ChildProcess second;
    SignalProcesses(L"USR2", String::FromUtf8(first.Id() + " " + second.Id()));
    EXPECT_EQ(first.EndedBy(), SIGUSR2);
    EXPECT_EQ(second.EndedBy(), SIGUSR2);
}

TEST(SignalProcesses, PassesOverBlanksAroundIds) {
    ChildProcess first;
    ChildProcess second;
    const auto output = Captured(
        [&] { SignalProcesses(L"HUP", String::FromUtf8("  " + first.Id() + "  " + second.Id() + " ")); });
    EXPECT_EQ(output.err, "");  // where kill would complain of an empty argument
    EXPECT_EQ(first.EndedBy(), SIGHUP);
    EXPECT_EQ(second.EndedBy(), SIGHUP);
}

TEST(SignalProcesses, NeverReadsAnIdAsShellCommands) {
    const TempDir dir;
    Captured([&] { SignalProcesses(L"HUP", String::FromUtf8("0x;touch$IFS" + dir / "planted")); });
    EXPECT_FALSE(testfiles::Exists(dir / "planted"));
}

TEST(SignalProcesses, SendsTheSignalThatIsNamed) {
    ChildProcess process;
    SignalProcesses(L"HUP", String::FromUtf8(process.Id()));
    EXPECT_EQ(process.EndedBy(), SIGHUP);
}

TEST(SignalProcesses, RunsNothingWithoutASignalOrAProcess) {
    ChildProcess process;
    const auto output = Captured([&] {
        SignalProcesses(L"HUP", L"");
        SignalProcesses(L"", String::FromUtf8(process.Id()));
    });
    EXPECT_EQ(output.err, "");  // where kill would complain of its missing arguments
    EXPECT_EQ(process.EndedBy(SIGTERM), SIGTERM);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
