// How version 5.6 leaves the host's super-server, and which signal that gets.
#include <cerrno>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include "agents/removal/SuperServers.h"
#include "corekit/fs/Dir.h"
#include "tests/support/Captured.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller {
namespace {

using testfiles::Exists;
using testfiles::Mode;
using testfiles::Read;
using testfiles::Write;
using testsupport::ChildProcess;
using testsupport::StandIns;

constexpr const char* kXinetd = "/etc/xinetd.conf";
constexpr const char* kInetd = "/etc/inetd.conf";
constexpr const char* kServices = "/etc/services";
constexpr const char* kListener = "/etc/xinetd.d/qdn-messagelistener";

/// A host with the three files as a test wants them, and one running super-server.
class SuperServers : public testing::Test {
  protected:
    SuperServers() {
        for (const char* file : {kXinetd, kInetd, kServices}) std::filesystem::remove(file);
        std::filesystem::remove_all("/etc/xinetd.d");
        m_tools.Add("ps", "echo 'root " + m_server.Id() + " 1 0 /usr/sbin/xinetd -stayalive'");
    }

    void Remove() {
        const auto output = testsupport::Captured([] { EXPECT_FALSE(RemoveSuperServerEntries().Any()); });
        EXPECT_EQ(output.out, "");
        EXPECT_EQ(output.err, "");
    }

    StandIns m_tools{testsupport::HostPrograms::TextTools};
    ChildProcess m_server;
};

constexpr const char* kBlock =
    "# Zorvane message listener\n"
    "service qdnmsg\n"
    "{\n"
    "    server = /usr/bin/qdn-messagelistener\n"
    "}\n";

TEST_F(SuperServers, LoseTheBlockInXinetdsConfiguration) {
    Write(kXinetd, std::string("defaults\n{\n}\n") + kBlock + "includedir /etc/xinetd.d\n", 0600);
    Remove();
    EXPECT_EQ(Read(kXinetd), "defaults\n{\n}\nincludedir /etc/xinetd.d\n");
    EXPECT_EQ(Mode(kXinetd), 0600u);
    EXPECT_EQ(m_server.EndedBy(), SIGUSR2);
}

TEST_F(SuperServers, AreWarnedOf_WhenTheyCannotBeEdited) {
    Write(kInetd, "ftp stream tcp\nqdnmsg stream tcp\n");
    Write(kServices, "ssh 22/tcp\nqdnm 402/tcp\n");
    const auto output = testsupport::Captured([] {
        EXPECT_EQ(testsupport::WithFailing({{SYS_renameat, ENOSPC}},
                                           [] { return RemoveSuperServerEntries().Any() ? 1 : 0; }),
                  1);
    });
    EXPECT_EQ(output.err,
              "WARNING! /etc/inetd.conf is not edited: No space left on device.\n"
              "WARNING! /etc/services is not edited: No space left on device.\n");
    EXPECT_EQ(Read(kInetd), "ftp stream tcp\nqdnmsg stream tcp\n");
    EXPECT_EQ(Read(kServices), "ssh 22/tcp\nqdnm 402/tcp\n");
}

TEST_F(SuperServers, NeverWriteAFileCalledStuff) {
    std::filesystem::create_directories("/tmp/work");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path("/tmp/work");
    Write("/tmp/work/stuff", "an administrator's");
    Write(kXinetd, kBlock);
    Write(kServices, "qdnm 402/tcp\n");
    Remove();
    std::filesystem::current_path(before);
    EXPECT_EQ(Read("/tmp/work/stuff"), "an administrator's");
    EXPECT_EQ(Read(kServices), "");
    std::filesystem::remove_all("/tmp/work");
}

TEST_F(SuperServers, LoseTheListenerInTheDirectoryThatXinetdIncludes) {
    Write(kXinetd, "includedir   /etc/xinetd.d  \n");
    Write(kListener, "service qdnmsg\n");
    Write("/etc/xinetd.d/other", "service other\n");
    Remove();
    EXPECT_FALSE(Exists(kListener));
    EXPECT_TRUE(Exists("/etc/xinetd.d/other"));
    EXPECT_EQ(Read(kXinetd), "includedir   /etc/xinetd.d  \n");
}

TEST_F(SuperServers, LoseTheBlockAndAreSignalledWithoutAnIncludedDirectory) {
    Write(kXinetd, kBlock);
    Write(kListener, "service qdnmsg\n");
    Remove();
    EXPECT_EQ(Read(kXinetd), "");
    EXPECT_TRUE(Exists(kListener));
    EXPECT_EQ(m_server.EndedBy(), SIGUSR2);
}

TEST_F(SuperServers, LoseTheLinesInInetdsConfiguration) {
    Write(kInetd, "ftp stream\n# Zorvane agent\nqdnmsg stream tcp nowait root\nqdnmsgx\ntftp dgram\n", 0640);
    Remove();
    EXPECT_EQ(Read(kInetd), "ftp stream\ntftp dgram\n");
    EXPECT_EQ(Mode(kInetd), 0640u);
    EXPECT_EQ(m_server.EndedBy(), SIGHUP);
}

TEST_F(SuperServers, KeepInetdsConfiguration_WhereXinetdHasOne) {
    Write(kXinetd, "defaults\n");
    Write(kInetd, "qdnmsg stream\n");
    Remove();
    EXPECT_EQ(Read(kInetd), "qdnmsg stream\n");
    EXPECT_EQ(m_server.EndedBy(), SIGUSR2);
}

TEST_F(SuperServers, GetNoSignalWithoutAConfigurationAndThePortsStillGo) {
    Write(kServices, "ssh 22/tcp\nqdnm 402/tcp # messages\nqdnmsg 402/udp\nother 1/tcp # QDN\nQdn 2/tcp\n");
    Remove();
    EXPECT_EQ(Read(kServices), "ssh 22/tcp\nQdn 2/tcp\n");
    EXPECT_FALSE(Exists(kXinetd));
    EXPECT_FALSE(Exists(kInetd));
    EXPECT_EQ(m_server.EndedBy(SIGTERM), SIGTERM);
}

TEST_F(SuperServers, AreEdited_WhenNoneRuns) {
    m_tools.Add("ps", "");
    Write(kXinetd, kBlock);
    Write(kServices, "qdnm 402/tcp\n");
    Remove();
    EXPECT_EQ(Read(kXinetd), "");
    EXPECT_EQ(Read(kServices), "");
    EXPECT_EQ(m_server.EndedBy(SIGTERM), SIGTERM);
}

TEST_F(SuperServers, AreNoError_WhenTheHostHasNone) {
    Remove();
    for (const char* file : {kXinetd, kInetd, kServices}) EXPECT_FALSE(Exists(file)) << file;
    EXPECT_EQ(m_tools.Calls(), "ps -ef\n");
}

TEST_F(SuperServers, LeaveNoTemporaryFileBehind) {
    Write(kXinetd, kBlock);
    Write(kServices, "qdnm 402/tcp\n");
    Remove();
    for (const auto& entry : std::filesystem::directory_iterator("/etc"))
        EXPECT_EQ(entry.path().filename().string().find(".unfinished"), std::string::npos) << entry.path();
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
