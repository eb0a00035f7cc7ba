// The agent's service script and its control script: template, levels, and what fails the step.
#include <gmock/gmock.h>

#include "deploykit/RCScriptBackend.h"
#include "integration/SetupSequence.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/Installation.h"

namespace Zorvane::AgentInstaller {
namespace {

using testsupport::Captured;

constexpr const char* kService = "/etc/init.d/zorvane";

class RunLevelScripts : public testsupport::Installation {
  protected:
    void SetUp() override {
        Configure("runlevels_start=2 3 5\n");
        m_settings.Value(L"StartupOnBoot") = L"yes";
        for (const char* family : {"linux", "suse", "unix"}) {
            testfiles::Write(std::string("/opt/agent/etc/rcscript.proto.") + family, Script(family));
        }
    }
    void TearDown() override {
        Forgive(deploykit::ItemInstallers::RCScriptBackend::Uninstall(L"zorvane"));
        std::filesystem::remove("/etc/SuSE-release");
        std::filesystem::remove("/etc/UnitedLinux-release");
    }

    static std::string Script(const std::string& family) {
        return "#!/bin/sh\n# chkconfig: 235 90 10\n### BEGIN INIT INFO\n# Provides: zorvane\n"
               "# Required-Start:\n# Required-Stop:\n# Default-Start: 2 3 5\n# Default-Stop: 0 1 4 6\n"
               "# Short-Description: " +
               family + "\n### END INIT INFO\n# %INSTDIR%\n";
    }

    testsupport::Output SetUpScripts(bool expected = true) {
        return Captured([&] {
            m_outcome = SetUpRunLevelScripts(m_context);
            EXPECT_EQ(m_outcome.has_value(), expected);
        });
    }

    /// The step fails with this reason, and so does the check before anything changes.
    void ExpectFailure(const wchar_t* reason) {
        const auto look = CheckRunLevelScripts(m_context);
        SetUpScripts(false);
        EXPECT_EQ(TextOf(m_outcome), L"Failed to set up the RC scripts.");
        EXPECT_EQ(ReasonOf(m_outcome), reason);
        EXPECT_EQ(TextOf(look), TextOf(m_outcome));
        EXPECT_EQ(ReasonOf(look), ReasonOf(m_outcome));
    }

    Outcome<> m_outcome;
};

TEST_F(RunLevelScripts, TheControlScriptIsALinkToTheService) {
    EXPECT_EQ(SetUpScripts().out, "Setting up RC scripts to start Agent at system start.\n");
    EXPECT_EQ(std::filesystem::read_symlink("/opt/agent/bin/rcscript"), kService);
    EXPECT_THAT(testfiles::Read(kService), testing::HasSubstr("# /opt/agent\n"));
    EXPECT_EQ(testfiles::Mode(kService), 0755U);
}

TEST_F(RunLevelScripts, TheControlScriptIsACopyAndNothingIsRegistered_WithoutStartupOnBoot) {
    m_settings.Value(L"StartupOnBoot") = L"no";
    EXPECT_EQ(SetUpScripts().out, "");
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status("/opt/agent/bin/rcscript")));
    EXPECT_THAT(testfiles::Read("/opt/agent/bin/rcscript"), testing::HasSubstr("# /opt/agent\n"));
    EXPECT_FALSE(testfiles::Exists(kService));
    EXPECT_FALSE(testfiles::Exists("/etc/systemd/system/zorvane.service"));
}

TEST_F(RunLevelScripts, AreSetUpSilently_WhenTheRunIsQuiet) {
    Args::bQuiet = true;
    EXPECT_EQ(SetUpScripts().out, "");
    EXPECT_TRUE(testfiles::Exists(kService));
}

TEST_F(RunLevelScripts, TheTemplateIsThatOfTheDistribution) {
    SetUpScripts();
    EXPECT_THAT(testfiles::Read(kService), testing::HasSubstr("Short-Description: linux\n"));
    testfiles::Write("/etc/UnitedLinux-release", "");
    SetUpScripts();
    EXPECT_THAT(testfiles::Read(kService), testing::HasSubstr("Short-Description: suse\n"));
    testfiles::Write("/etc/SuSE-release", "");
    SetUpScripts();
    EXPECT_THAT(testfiles::Read(kService), testing::HasSubstr("Short-Description: suse\n"));
}

TEST_F(RunLevelScripts, AnOldControlScriptIsReplaced) {
    testfiles::Write("/opt/agent/bin/rcscript", "old");
    SetUpScripts();
    EXPECT_TRUE(std::filesystem::is_symlink("/opt/agent/bin/rcscript"));
    m_settings.Value(L"StartupOnBoot") = L"no";
    SetUpScripts();
    EXPECT_FALSE(std::filesystem::is_symlink("/opt/agent/bin/rcscript"));
}

TEST_F(RunLevelScripts, Fails_WhenTheTemplateIsMissing) {
    const std::string path = "/opt/agent/etc/rcscript.proto.linux";
    testfiles::Write(path, "");
    ExpectFailure(L"");
    std::filesystem::remove(path);
    ExpectFailure(L"/opt/agent/etc/rcscript.proto.linux: No such file or directory");
    std::filesystem::create_directory(path);
    ExpectFailure(L"/opt/agent/etc/rcscript.proto.linux: Is a directory");
}

TEST_F(RunLevelScripts, Fails_WhenTheControlScriptCannotBePlaced) {
    std::filesystem::create_directories("/opt/agent/bin/rcscript/x");
    ExpectFailure(L"/opt/agent/bin/rcscript: Is a directory");
    EXPECT_FALSE(testfiles::Exists(kService));
}

TEST_F(RunLevelScripts, AreSetUpOrFailWithAReason_WhateverFails) {
    Args::bQuiet = true;
    for (const wchar_t* startsOnBoot : {L"yes", L"no"}) {
        m_settings.Value(L"StartupOnBoot") = startsOnBoot;
        const auto prepare = [] {
            Forgive(deploykit::ItemInstallers::RCScriptBackend::Uninstall(L"zorvane"));
            std::filesystem::remove("/opt/agent/bin/rcscript");
        };
        const auto setUp = [&] {
            const auto outcome = SetUpRunLevelScripts(m_context);
            if (outcome) return 0;
            EXPECT_EQ(TextOf(outcome), L"Failed to set up the RC scripts.");
            EXPECT_NE(ReasonOf(outcome), L"");
            return 1;
        };
        const auto check = [&](int result) {
            if (result == 0) {
                EXPECT_EQ(testfiles::Mode("/opt/agent/bin/rcscript") & 0755U, 0755U);
            }
        };
        // Those of the host's tools, which run meanwhile, are not among them.
        const std::vector<int> calls = {SYS_renameat, SYS_renameat2, SYS_symlinkat,
                                        SYS_unlinkat, SYS_fsync,     SYS_fchmod};
        EXPECT_GT(testsupport::FailInTurn(calls, EIO, prepare, setUp, check), 4);
    }
}

TEST_F(RunLevelScripts, WhatAnotherProcessTakesAwayFirstIsNotCalledKept) {
    m_settings.Value(L"StartupOnBoot") = L"no";
    const auto setUp = [&] {
        return Captured([&] { Forgive(SetUpRunLevelScripts(m_context)); }).err.empty() ? 0 : 1;
    };
    const auto check = [](int warned) { EXPECT_EQ(warned, 0); };
    EXPECT_GT(testsupport::FailInTurn(
                  {SYS_unlink, SYS_unlinkat}, ENOENT, [] {}, setUp, check),
              4);
}

TEST_F(RunLevelScripts, AServiceThatStaysIsToldOf_WithoutStartupOnBoot) {
    m_settings.Value(L"StartupOnBoot") = L"no";
    bool hasStayed = false;
    const auto setUp = [&] {
        const std::string told = Captured([&] { Forgive(SetUpRunLevelScripts(m_context)); }).err;
        if (!testfiles::Exists(kService)) return 0;
        EXPECT_EQ(told, "WARNING! /etc/init.d/zorvane is kept: Input/output error.\n");
        return 1;
    };
    const auto check = [&](int stays) { hasStayed = hasStayed || stays == 1; };
    testsupport::FailInTurn(
        {SYS_unlink, SYS_unlinkat}, EIO, [] {}, setUp, check);
    EXPECT_TRUE(hasStayed);
}

TEST_F(RunLevelScripts, Fails_WhenTheConfigurationCannotBeRead) {
    m_context.confPath = L"/opt/agent/etc";
    SetUpScripts(false);
    EXPECT_EQ(TextOf(m_outcome), L"Failed to set up the RC scripts.");
    EXPECT_EQ(ReasonOf(m_outcome), L"/opt/agent/etc: Is a directory");
}

TEST_F(RunLevelScripts, FailsBeforeTheOldServiceGoes_WhenADirectoryStandsInPlaceOfTheScript) {
    std::filesystem::create_directories("/etc/init.d/zorvane/x");
    ExpectFailure(L"/etc/init.d/zorvane: Is a directory");
    std::filesystem::remove_all("/etc/init.d/zorvane");
    SetUpScripts();
    std::filesystem::remove("/opt/agent/etc/rcscript.proto.linux");
    SetUpScripts(false);
    EXPECT_TRUE(testfiles::Exists(kService));
}

TEST_F(RunLevelScripts, Succeeds_WithoutRunLevels) {
    Configure("runlevels_start=\n");
    SetUpScripts();
    EXPECT_THAT(testfiles::Read(kService), testing::HasSubstr("# Default-Start:"));
    EXPECT_FALSE(testfiles::Exists("/etc/rc2.d/S99zorvane"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
