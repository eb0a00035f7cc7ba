// Which rotated logs go with an agent of version 6.2, and which files are none.
#include <gtest/gtest.h>

#include "agents/Agent60.h"
#include "corekit/fs/Dir.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;
using testfiles::Exists;
using testfiles::TempDir;
using testfiles::Write;

class RotatedLogs : public testing::Test {
  protected:
    /// A client.conf with these lines in its section Configuration.
    IniFile Conf(const std::string& lines) {
        Write(m_dir / "client.conf", "[Configuration]\n" + lines);
        return IniFile(String::FromUtf8(m_dir / "client.conf"));
    }

    void RemoveDebugLogs(const std::string& lines) {
        EXPECT_TRUE(m_agent.RemoveRotatedDebugLogs(Conf(lines)));
    }

    void RemoveClientLogs(const std::string& oldInstallDir, const std::string& newInstallDir) {
        EXPECT_TRUE(m_agent.RemoveRotatedClientLogs(Conf("installdir=" + oldInstallDir + "\n"),
                                                    String::FromUtf8(newInstallDir)));
    }

    TempDir m_dir;
    Agent62 m_agent{L"6.2", L""};
};

using RotatedDebugLogs = RotatedLogs;
using RotatedClientLogs = RotatedLogs;

TEST_F(RotatedDebugLogs, AreRemovedByTheirNumbersAndTheLogStays) {
    const std::string var = m_dir / "var/";
    for (const char* name : {"log", "log.1", "log.2", "log.10", "log.3.gz", "log.old", "log.", "other.1"})
        Write(var + name, "");

    RemoveDebugLogs("var=" + var + "\ndebug_output=" + var + "log\n");

    for (const char* gone : {"log.1", "log.2", "log.10", "log.3.gz"})
        EXPECT_FALSE(Exists(var + gone)) << gone;
    for (const char* kept : {"log", "log.old", "log.", "other.1"}) EXPECT_TRUE(Exists(var + kept)) << kept;
}

TEST_F(RotatedDebugLogs, AreThoseOfALogWithWildcardCharactersInItsName) {
    for (const char* name : {"l[o]g.1", "log.1", "a*b.1", "aXb.1", "a?b.2", "a]b.1", "a\\b.1"})
        Write(m_dir / name, "");
    for (const char* log : {"l[o]g", "a*b", "a?b", "a]b", "a\\b"})
        RemoveDebugLogs("debug_output=" + m_dir / log + "\n");
    EXPECT_EQ(testfiles::NamesIn(m_dir.Path()), (std::vector<std::string>{"aXb.1", "client.conf", "log.1"}));
}

TEST_F(RotatedDebugLogs, AreRemovedOutsideTheVariableDataDirectoryToo) {
    Write(m_dir / "elsewhere/log.1", "");
    Write(m_dir / "var/log.1", "");
    RemoveDebugLogs("var=" + m_dir / "var" + "\ndebug_output=" + m_dir / "elsewhere/log" + "\n");
    EXPECT_FALSE(Exists(m_dir / "elsewhere/log.1"));
    EXPECT_TRUE(Exists(m_dir / "var/log.1"));
}

TEST_F(RotatedDebugLogs, AreFound_HoweverSlashesAreDoubled) {
    Write(m_dir / "var/sub/log.1", "");
    RemoveDebugLogs("var=" + m_dir / "/var//" + "\ndebug_output=" + m_dir / "var//sub//log" + "\n");
    EXPECT_FALSE(Exists(m_dir / "var/sub/log.1"));
}

TEST_F(RotatedDebugLogs, AreFoundWithoutAVariableDataDirectory) {
    Write(m_dir / "log.1", "");
    RemoveDebugLogs("debug_output=" + m_dir / "log" + "\n");
    EXPECT_FALSE(Exists(m_dir / "log.1"));
}

TEST_F(RotatedDebugLogs, AreRemovedFromTheDirectoriesInWhichHostsKeepLogs) {
    for (const std::string directory : {"/var/log", "/var/tmp", "/tmp", "/var", "//var/", "/opt", "/root",
                                        "/run", "/var/lib", "/var/opt", "/var/run"}) {
        Write(directory + "/qdn-test.log.1", "");
        RemoveDebugLogs("debug_output=" + directory + "/qdn-test.log\n");
        EXPECT_FALSE(Exists(directory + "/qdn-test.log.1")) << directory;
    }
}

TEST_F(RotatedDebugLogs, NeverIncludeALogAProgramOrALibraryOfTheHost) {
    for (const std::string log :
         {"/var/log/syslog", "/var/log/host/access.log", "/var/tmp/session", "/usr/lib/libtest.so",
          "/lib/libtest.so", "/usr/bin/test", "/usr/local/lib/libtest.so", "/etc/test"}) {
        Write(log + ".1", "");
        RemoveDebugLogs("debug_output=" + log + "\n");
        EXPECT_TRUE(Exists(log + ".1")) << log;
        std::filesystem::remove(log + ".1");
    }
}

TEST_F(RotatedDebugLogs, AreNone_WhenNoLogIsConfigured) {
    Write(m_dir / ".1", "");
    const String before = corekit::Dir::GetCurrent().value();
    ASSERT_TRUE(corekit::Dir::SetCurrent(String::FromUtf8(m_dir.Path())));
    RemoveDebugLogs("debug_output=\n");
    RemoveDebugLogs("var=/\n");
    RemoveDebugLogs("debug_output=" + m_dir.Path() + "/\n");
    ASSERT_TRUE(corekit::Dir::SetCurrent(before));
    EXPECT_TRUE(Exists(m_dir / ".1"));
}

TEST_F(RotatedClientLogs, AreRemovedFromTheOldInstallDirectory) {
    for (const char* name : {"old/var/qdn-client.log", "old/var/qdn-client.log.1",
                             "old/var/qdn-client.log.22", "old/qdn-client.log.1", "new/var/qdn-client.log.1"})
        Write(m_dir / name, "");

    RemoveClientLogs(m_dir / "old", m_dir / "new");

    EXPECT_FALSE(Exists(m_dir / "old/var/qdn-client.log.1"));
    EXPECT_FALSE(Exists(m_dir / "old/var/qdn-client.log.22"));
    EXPECT_TRUE(Exists(m_dir / "old/var/qdn-client.log"));
    EXPECT_TRUE(Exists(m_dir / "old/qdn-client.log.1"));
    EXPECT_TRUE(Exists(m_dir / "new/var/qdn-client.log.1"));
}

TEST_F(RotatedClientLogs, Stay_WhereOldAndNewAreTheSamePlace) {
    Write(m_dir / "agent/var/qdn-client.log.1", "");
    std::filesystem::create_directory_symlink(m_dir / "agent", m_dir / "link");
    for (const char* sameAs : {"agent", "agent/", "/agent", "link"}) {
        RemoveClientLogs(m_dir / "agent", m_dir / sameAs);
        EXPECT_TRUE(Exists(m_dir / "agent/var/qdn-client.log.1")) << sameAs;
    }
}

TEST_F(RotatedClientLogs, Stay_WhenEitherDirectoryIsNotKnown) {
    Write(m_dir / "agent/var/qdn-client.log.1", "");
    RemoveClientLogs(m_dir / "agent", "");
    EXPECT_TRUE(Exists(m_dir / "agent/var/qdn-client.log.1"));
    Write("/var/qdn-client.log.1", "");
    RemoveClientLogs("", m_dir / "new");
    RemoveClientLogs("/", m_dir / "new");
    EXPECT_TRUE(Exists("/var/qdn-client.log.1"));
    std::filesystem::remove("/var/qdn-client.log.1");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
