// What is sent to the journal and to the syslog daemon, and that nothing is waited for.
#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <sys/syscall.h>

#include "corekit/os/SystemLog.h"
#include "tests/support/FailingCall.h"
#include "tests/support/LogSocket.h"
#include "tests/support/Mount.h"

namespace {

using corekit::SystemLog::Field;
using corekit::SystemLog::ToJournal;
using corekit::SystemLog::ToSyslog;
using testsupport::LogSocket;

constexpr const char* kJournal = "/run/systemd/journal/socket";
constexpr std::array<std::string_view, 2> kPieces = {"one ", "two"};

TEST(SystemLog, WritesAFieldOnOneLine_UnlessItsValueHasLineEnds) {
    EXPECT_EQ(Field("NAME", "a=b"), "NAME=a=b\n");
    EXPECT_EQ(Field("NAME", ""), "NAME=\n");
    EXPECT_EQ(Field("NAME", "a\nb"), std::string("NAME\n\x03\0\0\0\0\0\0\0a\nb\n", 17));
    EXPECT_EQ(Field("NAME", std::string(300, '\n')).substr(0, 13),
              std::string("NAME\n\x2c\x01\0\0\0\0\0\0", 13));
}

TEST(SystemLog, CutsAValueThatIsTooLongForAnEntry) {
    EXPECT_EQ(Field("N", std::string(100000, 'x')).size(), 4096 + 3U);
}

TEST(SystemLog, SendsAllPiecesAsOneEntry) {
    const LogSocket journal(kJournal);
    EXPECT_TRUE(ToJournal(kPieces));
    EXPECT_EQ(journal.Next(), "one two");
    EXPECT_EQ(journal.Next(), "");
}

TEST(SystemLog, SendsNothing_WhenNobodyListens) {
    const testsupport::Mount dev = testsupport::Mount::Tmpfs("/dev");
    EXPECT_FALSE(ToJournal(kPieces));
    EXPECT_FALSE(ToSyslog(kPieces));
}

TEST(SystemLog, SpeaksToEitherKindOfSyslogDaemon) {
    const testsupport::Mount dev = testsupport::Mount::Tmpfs("/dev");
    {
        const LogSocket daemon("/dev/log");
        EXPECT_TRUE(ToSyslog(kPieces));
        EXPECT_EQ(daemon.Next(), "one two");
    }
    const LogSocket daemon("/dev/log", SOCK_STREAM);
    EXPECT_TRUE(ToSyslog(kPieces));
    EXPECT_EQ(daemon.NextStream(), "one two");
}

TEST(SystemLog, SendsNothing_WithoutASocket) {
    const LogSocket journal(kJournal);
    EXPECT_EQ(testsupport::WithFailing({{SYS_socket, EMFILE}}, [] { return ToJournal(kPieces) ? 1 : 0; }), 0);
    EXPECT_EQ(journal.Next(), "");
}

// The same time limit.
TEST(SystemLog, DoesNotWaitForADaemonThatAcceptsNobody) {
    const testsupport::Mount dev = testsupport::Mount::Tmpfs("/dev");
    const LogSocket daemon("/dev/log", SOCK_STREAM);
    int sent = 0;
    while (sent < 10 && ToSyslog(kPieces)) ++sent;
    EXPECT_LT(sent, 10);
}

// One that waited would be ended by the time limit of the tests.
TEST(SystemLog, DoesNotWaitForADaemonThatReadsNothing) {
    const LogSocket journal(kJournal);
    int sent = 0;
    while (sent < 100000 && ToJournal(kPieces)) ++sent;
    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, 100000);
}

}  // namespace
