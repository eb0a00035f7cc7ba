// What the record of a run says, and that there is one, whatever ends the run.
#include <csignal>
#include <sys/wait.h>

#include "corekit/os/Application.h"
#include "corekit/os/Interruption.h"
#include "run/Args.h"
#include "run/RunRecord.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/InChild.h"
#include "tests/support/LogSocket.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintString.h"
#include "tests/support/ScopedValue.h"

namespace Zorvane::AgentInstaller {
namespace {

using testing::HasSubstr;
using testing::Not;
using testsupport::EnvironmentVariable;
using testsupport::LogSocket;

class Record : public testing::Test {
  protected:
    static void Leave(unsigned status) {
        RunRecord record(L"-configure");
        EXPECT_EQ(record.End(status), status);
    }

    /// The record of a run in a process of its own that `action` ends; the process's status goes to `ended`.
    template <typename Action>
    std::string RecordOf(Action&& action, int& ended) {
        const pid_t run = fork();
        if (run == 0) {
            corekit::Interruption::Prepare();
            RunRecord record(L"-clean");
            RunRecord::SetInstallDir(L"/opt/agent");
            action();
            _exit(0);
        }
        EXPECT_EQ(waitpid(run, &ended, 0), run);
        return m_journal.Next();
    }

    LogSocket m_journal{"/run/systemd/journal/socket"};
};

TEST_F(Record, SaysWhatRanAndHowItEnded) {
    {
        RunRecord record(L"-configure");
        RunRecord::SetServer(L"https://kell.example:8083");
        RunRecord::SetInstallDir(L"/opt/agent");
        RunRecord::SetXmlFile(L"/tmp/x.xml");
        RunRecord::SetXmlFileRemoved();
        record.End(0);
    }
    EXPECT_EQ(m_journal.Next(), std::string("MESSAGE_ID=") + RunRecord::kMessageId +
                                    "\nSYSLOG_IDENTIFIER=qdn-configure\nSYSLOG_FACILITY=3\n"
                                    "QDN_COMMAND=-configure\nQDN_SERVER=https://kell.example:8083\n"
                                    "QDN_INSTALL_DIR=/opt/agent\nQDN_USER=root\n"
                                    "QDN_XML_FILE=/tmp/x.xml\nQDN_XML_FILE_REMOVED=yes\n"
                                    "MESSAGE=-configure of /opt/agent by root: status 0\n"
                                    "QDN_STATUS=0\nPRIORITY=6\n");
    EXPECT_EQ(m_journal.Next(), "") << "one record only";
}

TEST_F(Record, LeavesOutWhatIsNotKnown) {
    Leave(120);
    const std::string record = m_journal.Next();
    EXPECT_THAT(record, HasSubstr("\nMESSAGE=-configure by root: status 120\nQDN_STATUS=120\nPRIORITY=3\n"));
    for (const char* field : {"QDN_SERVER", "QDN_INSTALL_DIR", "QDN_XML_FILE"})
        EXPECT_THAT(record, Not(HasSubstr(field)));
}

TEST_F(Record, SaysThatAnXmlFileWasLeft) {
    RunRecord record(L"-configure");
    RunRecord::SetXmlFile(L"/root/x.xml");
    record.End(1);
    EXPECT_THAT(m_journal.Next(), HasSubstr("\nQDN_XML_FILE=/root/x.xml\nQDN_XML_FILE_REMOVED=no\n"));
}

TEST_F(Record, BelievesOnlyRootsEnvironment) {
    const EnvironmentVariable sudo("SUDO_USER", "alice");
    testsupport::InChild([] {
        if (setresuid(12345, 0, 0) == 0) Leave(0);
        return 0;
    });
    const std::string record = m_journal.Next();
    if (record.empty()) return;  // not root's machine
    EXPECT_THAT(record, HasSubstr("\nQDN_USER=12345\n"));
    EXPECT_THAT(record, Not(HasSubstr("alice")));
}

TEST_F(Record, NamesTheUserBehindSudo) {
    const EnvironmentVariable sudo("SUDO_USER", "alice");
    Leave(0);
    const std::string record = m_journal.Next();
    EXPECT_THAT(record, HasSubstr("\nQDN_USER=alice\n"));
    EXPECT_THAT(record, HasSubstr(" by alice (root): status 0\n"));
}

TEST_F(Record, AControlCharacterCannotForgeAField) {
    RunRecord record(L"-clean");
    RunRecord::SetInstallDir(L"/opt/a\nQDN_STATUS=7");
    record.End(0);
    const std::string text = m_journal.Next();
    EXPECT_THAT(text,
                HasSubstr(std::string("QDN_INSTALL_DIR\n\x13\0\0\0\0\0\0\0/opt/a\nQDN_STATUS=7\n", 44)));
    EXPECT_THAT(text, HasSubstr("MESSAGE=-clean of /opt/a\\x0aQDN_STATUS=7 by root: status 0\n"));
}

TEST_F(Record, OneRunWithinAnotherLeavesNoneOfItsOwn) {
    RunRecord outer(L"-apply");
    {
        RunRecord inner(L"-configure");
        RunRecord::SetInstallDir(L"/opt/agent");
        inner.End(1);
    }
    EXPECT_EQ(m_journal.Next(), "");
    outer.End(0);
    EXPECT_THAT(m_journal.Next(), HasSubstr("MESSAGE=-apply of /opt/agent by root: status 0\n"));
    EXPECT_EQ(m_journal.Next(), "");
}

TEST_F(Record, ARehearsedRunLeavesNone) {
    const testsupport::ScopedValue<bool> rehearsal(RunMode::isRehearsal, true);
    Leave(0);
    EXPECT_EQ(m_journal.Next(), "");
}

TEST_F(Record, AForkedProcessLeavesNone) {
    RunRecord record(L"-apply");
    EXPECT_EQ(testsupport::InChild([&] {
                  record.End(1);
                  corekit::Interruption::TellEnd(143);
                  return 0;
              }),
              0);
    EXPECT_EQ(m_journal.Next(), "");
    record.End(0);
    EXPECT_THAT(m_journal.Next(), HasSubstr("status 0"));
}

TEST_F(Record, IsLeft_WhenASignalEndsTheRun) {
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        int ended = 0;
        const std::string record = RecordOf([&] { raise(signal); }, ended);
        EXPECT_TRUE(WIFSIGNALED(ended) && WTERMSIG(ended) == signal) << ended;
        const std::string status = std::to_string(128 + signal);
        EXPECT_THAT(record, HasSubstr("MESSAGE=-clean of /opt/agent by root: status " + status +
                                      "\nQDN_STATUS=" + status + "\n"));
        EXPECT_EQ(m_journal.Next(), "") << "one record only";
    }
}

TEST_F(Record, IsLeft_WhenMemoryRunsOut) {
    int ended = 0;
    EXPECT_THAT(RecordOf([] { corekit::EndWithoutMemory(); }, ended), HasSubstr("status 1\n"));
}

TEST_F(Record, IsAFailure_WhenTheStatusIsUnknown) {
    { const RunRecord record(L"-clean"); }
    EXPECT_THAT(m_journal.Next(), HasSubstr("\nQDN_STATUS=1\n"));
}

TEST(RecordWithoutJournal, GoesToTheSyslogDaemon) {
    const testsupport::Mount dev = testsupport::Mount::Tmpfs("/dev");
    const LogSocket daemon("/dev/log");
    const std::string begin = "qdn-configure[" + std::to_string(getpid()) + "]: -configure of /opt/agent by ";
    for (const unsigned status : {0U, 1U}) {
        RunRecord record(L"-configure");
        RunRecord::SetInstallDir(L"/opt/agent");
        record.End(status);
        EXPECT_EQ(daemon.Next(),
                  (status == 0 ? "<30>" : "<27>") + begin + "root: status " + std::to_string(status));
        EXPECT_EQ(daemon.Next(), "");
    }
}

TEST(RecordWithoutJournal, IsNoFailure_WhenThereIsNoLogAtAll) {
    const testsupport::Mount dev = testsupport::Mount::Tmpfs("/dev");
    RunRecord record(L"-configure");
    EXPECT_EQ(record.End(0), 0U);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
