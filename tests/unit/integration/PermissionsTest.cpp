// The owners and modes of an installation.
#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "integration/SetupSequence.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Installation.h"

namespace Zorvane::AgentInstaller {

namespace {

class Permissions : public testsupport::Installation {
  protected:
    void SetUp() override {
        for (const char* file :
             {"bin/qdn-configure", "bin/qdn-configure.bin", "bin/rcscript", "bin/qdn-uninstall",
              "bin/qdn-pluginmanager", "bin/qdn-pluginmanager.bin", "bin/qdn-monitor.bin", "etc/client.proto",
              "etc/host.GUID", "etc/config.xml", "etc/client.conf.old", "etc/below/file", "lib/libx.so"}) {
            testfiles::Write(std::string("/opt/agent/") + file, "x", 0600);
        }
        for (const char* directory : {"", "bin", "etc", "lib"}) {
            ASSERT_EQ(chmod((std::string("/opt/agent/") + directory).c_str(), 0700), 0);
        }
    }

    unsigned ModeAfter(const std::string& file) {
        EXPECT_TRUE(SetInstallPermissions(m_context));
        return testfiles::Mode("/opt/agent/" + file);
    }
};

TEST_F(Permissions, ProgramsAreForEveryone_WhenAllowed) {
    m_settings.Value(L"AllowNonRoot") = L"yes";
    EXPECT_EQ(ModeAfter("bin/qdn-monitor.bin"), 0555U);
}

TEST_F(Permissions, ProgramsAreForRootOtherwise) {
    EXPECT_EQ(ModeAfter("bin/qdn-monitor.bin"), 0544U);
    m_settings.Value(L"AllowNonRoot") = L"no";
    EXPECT_EQ(ModeAfter("bin/qdn-monitor.bin"), 0544U);
}

TEST_F(Permissions, AdministrationToolsAreForRootInAnyCase) {
    m_settings.Value(L"AllowNonRoot") = L"yes";
    for (const char* tool : {"bin/qdn-configure", "bin/qdn-configure.bin", "bin/rcscript",
                             "bin/qdn-uninstall", "bin/qdn-pluginmanager", "bin/qdn-pluginmanager.bin"}) {
        EXPECT_EQ(ModeAfter(tool), 0544U) << tool;
    }
}

TEST_F(Permissions, ConfigurationIsReadableAndThreeFilesOfItWritable) {
    EXPECT_EQ(ModeAfter("etc/client.proto"), 0444U);
    EXPECT_EQ(ModeAfter("etc/client.conf.old"), 0444U);
    EXPECT_EQ(ModeAfter("etc/client.conf"), 0644U);
    EXPECT_EQ(ModeAfter("etc/host.GUID"), 0644U);
    EXPECT_EQ(ModeAfter("etc/config.xml"), 0644U);
}

TEST_F(Permissions, LibrariesAreForEveryone) {
    EXPECT_EQ(ModeAfter("lib/libx.so"), 0555U);
}

TEST_F(Permissions, DirectoriesAreOpenToAllAndSubdirectoriesLeftAlone) {
    for (const char* directory : {"", "bin", "etc", "lib"})
        EXPECT_EQ(ModeAfter(directory), 0755U) << directory;
    EXPECT_EQ(testfiles::Mode("/opt/agent/etc/below/file"), 0600U);
}

TEST_F(Permissions, EverythingListedBelongsToRoot) {
    if (chown("/opt/agent/bin/qdn-monitor.bin", 1, 1) != 0) return;  // nobody else exists in a user namespace
    EXPECT_TRUE(SetInstallPermissions(m_context));
    struct stat info {};
    ASSERT_EQ(stat("/opt/agent/bin/qdn-monitor.bin", &info), 0);
    EXPECT_EQ(info.st_uid, 0U);
    EXPECT_EQ(info.st_gid, 0U);
}

TEST_F(Permissions, WhatALinkLeadsToIsLeftAlone) {
    testfiles::Write("/tmp/precious", "x", 0600);
    ASSERT_EQ(symlink("/tmp/precious", "/opt/agent/etc/link"), 0);
    EXPECT_TRUE(SetInstallPermissions(m_context));
    EXPECT_EQ(testfiles::Mode("/tmp/precious"), 0600U);
}

TEST_F(Permissions, AControlScriptThatIsALinkGivesItsModeToTheServiceScript) {
    testfiles::Write("/etc/init.d/zorvane", "x", 0755);
    std::filesystem::remove("/opt/agent/bin/rcscript");
    ASSERT_EQ(symlink("/etc/init.d/zorvane", "/opt/agent/bin/rcscript"), 0);
    m_settings.Value(L"AllowNonRoot") = L"yes";
    EXPECT_TRUE(SetInstallPermissions(m_context));
    EXPECT_EQ(testfiles::Mode("/etc/init.d/zorvane"), 0544U);
    std::filesystem::remove("/etc/init.d/zorvane");
}

TEST_F(Permissions, AControlScriptThatLeadsElsewhereGivesNothingAway) {
    testfiles::Write("/tmp/precious", "x", 0600);
    std::filesystem::remove("/opt/agent/bin/rcscript");
    ASSERT_EQ(symlink("/tmp/precious", "/opt/agent/bin/rcscript"), 0);
    EXPECT_TRUE(SetInstallPermissions(m_context));
    EXPECT_EQ(testfiles::Mode("/tmp/precious"), 0600U);
}

TEST_F(Permissions, AnInstallDirectoryThatIsALinkIsOpenToAll_WhereItLeads) {
    ASSERT_EQ(symlink("/opt/agent", "/opt/link"), 0);
    m_settings.Value(L"InstallDir") = L"/opt/link";
    EXPECT_EQ(ModeAfter(""), 0755U);
    std::filesystem::remove("/opt/link");
}

TEST_F(Permissions, ADirectoryOfItThatIsALinkIsOpenToAll_WhereItLeads) {
    for (const std::string directory : {"bin", "etc", "lib"}) {
        std::filesystem::rename("/opt/agent/" + directory, "/opt/real-" + directory);
        ASSERT_EQ(chmod(("/opt/real-" + directory).c_str(), 0700), 0);
        ASSERT_EQ(symlink(("../real-" + directory).c_str(), ("/opt/agent/" + directory).c_str()), 0);
        EXPECT_TRUE(SetInstallPermissions(m_context));
        EXPECT_EQ(testfiles::Mode("/opt/real-" + directory), 0755U);
        std::filesystem::remove_all("/opt/real-" + directory);
    }
}

TEST_F(Permissions, AMissingInstallationIsNoFailure) {
    std::filesystem::remove_all("/opt/agent");
    testing::internal::CaptureStderr();
    EXPECT_TRUE(SetInstallPermissions(m_context));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Permissions, WarnOfAnIdentifierWithASecondName_WhichKeepsItsMode) {
    std::filesystem::create_hard_link("/opt/agent/etc/host.GUID", "/opt/precious");
    testing::internal::CaptureStderr();
    EXPECT_TRUE(SetInstallPermissions(m_context));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "WARNING! /opt/agent/etc/host.GUID keeps its owner and mode: it has other names.\n");
    EXPECT_EQ(testfiles::Mode("/opt/precious"), 0600U);
    EXPECT_EQ(testfiles::Mode("/opt/agent/etc/config.xml"), 0644U);
    std::filesystem::remove("/opt/precious");
}

TEST_F(Permissions, WarnOfAFileWithASecondNameInADirectoryOfOthers_WhichKeepsItsMode) {
    std::filesystem::create_hard_link("/opt/agent/bin/qdn-monitor.bin", "/opt/precious");
    ASSERT_EQ(chmod("/opt/agent/bin", 0777), 0);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(SetInstallPermissions(m_context));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "WARNING! /opt/agent/bin/qdn-monitor.bin keeps its owner and mode: "
              "/opt/agent/bin/qdn-monitor.bin belongs to another user.\n");
    EXPECT_EQ(testfiles::Mode("/opt/precious"), 0600U);
    std::filesystem::remove("/opt/precious");
}

TEST_F(Permissions, WarnOfAnInstallDirectoryBehindALinkOfOthers_WhichKeepsItsMode) {
    std::filesystem::create_directory("/opt/theirs");
    ASSERT_EQ(chmod("/opt/theirs", 0777), 0);
    std::filesystem::create_directory("/opt/precious");
    ASSERT_EQ(chmod("/opt/precious", 0700), 0);
    ASSERT_EQ(symlink("/opt/precious", "/opt/theirs/way"), 0);
    m_settings.Value(L"InstallDir") = L"/opt/theirs/way/agent";
    std::filesystem::create_directory("/opt/precious/agent");
    ASSERT_EQ(chmod("/opt/precious/agent", 0700), 0);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(SetInstallPermissions(m_context));
    EXPECT_NE(
        testing::internal::GetCapturedStderr().find(
            "WARNING! /opt/theirs/way/agent keeps its owner and mode: /opt/theirs belongs to another user.\n"),
        std::string::npos);
    EXPECT_EQ(testfiles::Mode("/opt/precious/agent"), 0700U);
    std::filesystem::remove_all("/opt/theirs");
    std::filesystem::remove_all("/opt/precious");
}

TEST_F(Permissions, WarnOnceOfAModeThatCannotBeSet) {
    const auto warnings = [&] {
        testing::internal::CaptureStderr();
        if (!SetInstallPermissions(m_context)) return 100;
        const std::string told = testing::internal::GetCapturedStderr();
        const std::string why = " keeps its owner and mode: Read-only file system.\n";
        const bool isWhole = told.empty() || told.ends_with(why);
        return isWhole ? static_cast<int>(std::ranges::count(told, '\n')) : 101;
    };
    const auto expectOne = [](int count) { EXPECT_EQ(count, 1); };
    EXPECT_GT(testsupport::FailInTurn(
                  {SYS_fchmod}, EROFS, [] {}, warnings, expectOne),
              20);
}

}  // namespace

}  // namespace Zorvane::AgentInstaller
