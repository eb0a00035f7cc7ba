// Writing client.conf: the fresh and the upgrading way, and every failure of them.
#include <filesystem>
#include <gtest/gtest.h>

#include "config/ClientConf.h"
#include "corekit/ini/IniFile.h"
#include "settings/XmlConfig.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;
using testsupport::Captured;

constexpr const char* kProto = "/opt/agent/etc/client.proto";
constexpr const char* kOutput = "/opt/client.conf";
constexpr const char* kOld = "/opt/old/etc/client.conf";

class ClientConf : public testing::Test {
  protected:
    ClientConf() {
        std::filesystem::create_directories("/opt/agent/etc");
        std::filesystem::copy(CLIENT_PROTO, kProto);
    }
    ~ClientConf() override {
        for (const char* path : {"/opt/agent", "/opt/old", kOutput}) std::filesystem::remove_all(path);
    }

    static std::unique_ptr<Settings> SettingsOfARun() {
        auto settings = DefaultSettings();
        settings->Value(L"InstallDir") = L"/opt/agent";
        settings->Value(L"KSName") = L"srv.example";
        return settings;
    }

    /// Writes the file, which prints nothing.
    bool Write(const InstalledConfiguration* installed = nullptr) {
        const auto output =
            Captured([&] { m_outcome = WriteClientConf(String::FromUtf8(kOutput), *m_settings, installed); });
        EXPECT_EQ(output.out + output.err, "");
        return m_outcome.has_value();
    }
    ClientConfSource Source() const { return m_outcome.value_or(ClientConfSource::Nothing); }
    String Text() const { return m_outcome ? String(L"(no failure)") : m_outcome.error().text; }
    String Reason() const { return m_outcome ? String(L"(no failure)") : m_outcome.error().reason; }
    String Written(const wchar_t* section, const wchar_t* key) {
        String value = L"(missing)";
        IniFile(String::FromUtf8(kOutput)).GetValue(section, key, value);
        return value;
    }
    String& Setting(SettingName name) { return m_settings->Value(name); }

    std::unique_ptr<Settings> m_settings = SettingsOfARun();
    InstalledConfiguration m_installed = {L"6.0", String::FromUtf8(kOld), true};
    Outcome<ClientConfSource> m_outcome;
};

TEST_F(ClientConf, AFreshFileIsTheTemplateWithTheSettingsFilledIn) {
    testfiles::Write(kProto,
                     "# %INSTDIR%\n[Kell Servers]\nserver-1=%KSNAME%;%KSNAME%\n[Configuration]\n"
                     "installdir=%INSTDIR%\nguid_guid_file=\npolicies_cache_dir=%ETCDIR%/p\n");
    testfiles::Write(kOutput, "", 0600);
    EXPECT_TRUE(Write());
    EXPECT_EQ(Source(), ClientConfSource::Template);
    EXPECT_TRUE(testfiles::Read(kOutput).starts_with(
        "# /opt/agent\n[Kell Servers]\nserver-1=srv.example;srv.example\n[Configuration]\n"
        "installdir=/opt/agent\nguid_guid_file=/opt/agent/etc/host.GUID\n"
        "policies_cache_dir=/opt/agent/etc/p\ntmpdir=/tmp\n"));
    EXPECT_EQ(testfiles::Mode(kOutput), 0600U);
}

TEST_F(ClientConf, WithoutAUrlFormatTheTemplatesLineStays) {
    Settings settings;
    settings.Value(L"InstallDir") = L"/opt/agent";
    settings.Value(L"KSName") = L"srv";
    Captured([&] { EXPECT_TRUE(WriteClientConf(String::FromUtf8(kOutput), settings, nullptr)); });
    EXPECT_EQ(Written(L"Client Transport", L"ks_url_format"), L"http://%server%/Zorvane/");
}

TEST_F(ClientConf, TheInstallDirectoryBecomesAbsolute) {
    std::filesystem::current_path("/opt");
    Setting(L"InstallDir") = L"agent";
    EXPECT_TRUE(Write());
    std::filesystem::current_path("/");
    EXPECT_EQ(Setting(L"InstallDir"), L"/opt/agent");
    EXPECT_EQ(Written(L"Configuration", L"installdir"), L"/opt/agent");
}

TEST_F(ClientConf, AnEmptyInstallDirectoryIsTheRootWhichHasNoTemplate) {
    Setting(L"InstallDir") = L"";
    EXPECT_FALSE(Write());
    EXPECT_EQ(Text(), L"Missing file in install. File://etc/client.proto");
}

TEST_F(ClientConf, WithoutAnInstallDirectoryTheSettingsGoIntoTheFileThatIsThere) {
    testfiles::Write(kOutput, "[Configuration]\nkept=1\ndebug_level=old\n");
    Settings settings;
    settings.Value(L"LogLevel") = L"Error";
    const auto output = Captured([&] {
        const auto source = WriteClientConf(String::FromUtf8(kOutput), settings, nullptr);
        EXPECT_TRUE(source && *source == ClientConfSource::Nothing);
    });
    EXPECT_EQ(output.out, "");
    EXPECT_TRUE(testfiles::Read(kOutput).starts_with("[Configuration]\nkept=1\ndebug_level=Error\n"));
}

TEST_F(ClientConf, AServerNameBringsNoLinesOfItsOwn) {
    Setting(L"KSName") = L"srv\r\n[Configuration]\ninstalldir=/evil";
    EXPECT_TRUE(Write());
    EXPECT_EQ(Written(L"Kell Servers", L"server-1"), L"srv  [Configuration] installdir=/evil");
    EXPECT_EQ(Written(L"Configuration", L"installdir"), L"/opt/agent");
}

TEST_F(ClientConf, TheTemplateMustBeThere) {
    std::filesystem::remove(kProto);
    EXPECT_FALSE(Write());
    EXPECT_EQ(Text(), L"Missing file in install. File:/opt/agent/etc/client.proto");
    EXPECT_FALSE(testfiles::Exists(kOutput));

    testfiles::Write(kOld, "");
    EXPECT_FALSE(Write(&m_installed));
    EXPECT_EQ(Text(), L"Missing file in install. File:/opt/agent/etc/client.proto");
}

TEST_F(ClientConf, TheTemplateMustBeReadable) {
    testfiles::Write(kOld, "");
    const auto expectFailures = [&] {
        EXPECT_FALSE(Write());
        EXPECT_EQ(Text(), L"Missing or unreadable file in install. File:/opt/agent/etc/client.proto");
        EXPECT_FALSE(Write(&m_installed));
        EXPECT_EQ(Text(), L"Missing or unreadable file in install. File: /opt/agent/etc/client.proto");
    };
    testfiles::Write(kProto, "");
    expectFailures();
    std::filesystem::remove(kProto);
    std::filesystem::create_directory(kProto);
    expectFailures();
}

TEST_F(ClientConf, AFileThatCannotBeWrittenFailsOnBothWays) {
    testfiles::Write(kOld, "");
    std::filesystem::create_directory(kOutput);
    EXPECT_FALSE(Write());
    EXPECT_EQ(Text(), L"Unable to write to file: /opt/client.conf");
    EXPECT_FALSE(Write(&m_installed));
    EXPECT_EQ(Text(), L"Unable to write to file: /opt/client.conf");
}

TEST_F(ClientConf, SettingsThatCannotBeWrittenFail) {
    std::filesystem::create_directory(kOutput);
    Settings settings;
    m_outcome = CreateClientConfFromTemplate(String::FromUtf8(kOutput), settings);
    EXPECT_EQ(Reason(), L"/opt/client.conf: Is a directory");
    EXPECT_EQ(Text(), L"Unable to write to file: /opt/client.conf");
}

TEST_F(ClientConf, AnUpgradeNeedsItsDirectoryForTemplates) {
    testfiles::Write(kOld, "");
    std::filesystem::rename("/opt/agent/etc", "/opt/agent/real");
    std::filesystem::create_directory_symlink("/opt/agent/real", "/opt/agent/etc");
    EXPECT_TRUE(Write(&m_installed));
}

TEST_F(ClientConf, AnUpgradeFailsRatherThanDropOldValuesThatItCannotRead) {
    std::filesystem::create_directories(kOld);
    EXPECT_FALSE(Write(&m_installed));
    EXPECT_EQ(Text(), L"Missing or unreadable file in install. File: /opt/old/etc/client.conf");
    EXPECT_FALSE(testfiles::Exists(kOutput));
}

TEST_F(ClientConf, WhatTheUpgradeSettingSaysDecides) {
    testfiles::Write(kOld, "[Tickle]\nenabled=old\n");
    const struct {
        const wchar_t* upgrade;
        bool carries;
    } table[] = {{L"yes", true}, {L"", true}, {L"no", false}, {L"Yes", false}, {L"maybe", false}};
    for (const auto& row : table) {
        SCOPED_TRACE(row.upgrade);
        Setting(L"Upgrade") = row.upgrade;
        EXPECT_TRUE(Write(&m_installed));
        EXPECT_EQ(Source(), row.carries ? ClientConfSource::InstalledAgent : ClientConfSource::Template);
        EXPECT_EQ(Written(L"Tickle", L"enabled"), row.carries ? L"old" : L"yes");
    }
    m_installed.confPath = String();
    Setting(L"Upgrade") = L"yes";
    EXPECT_TRUE(Write(&m_installed));
    EXPECT_EQ(Source(), ClientConfSource::Template);
}

TEST_F(ClientConf, AnUpgradeTakesTheServerOfTheOldFile_WhenNoOtherIsKnown) {
    testfiles::Write(kOld, "[Kell Servers]\nserver-1=old.example\n");
    EXPECT_TRUE(Write(&m_installed));
    EXPECT_EQ(Written(L"Kell Servers", L"server-1"), L"srv.example");
    Setting(L"KSName") = L"";
    EXPECT_TRUE(Write(&m_installed));
    EXPECT_EQ(Written(L"Kell Servers", L"server-1"), L"old.example");
    EXPECT_EQ(Setting(L"KSName"), L"old.example");
}

TEST_F(ClientConf, CarriedValuesTakeTheFormOfTheirSettings) {
    testfiles::Write(kOld,
                     "[Configuration]\ninstalldir=/opt/old\ntmpdir=/opt/old/tmp\n"
                     "basicinv_use_resolv_conf=yes\ndebug_level=ignored\n[Client Transport]\n"
                     "ssl_verify_peer=1\nssl_ca_info=\n[Client Details]\ncontactname= None\n");
    Setting(L"CAInfo") = L"/ca.pem";
    Setting(L"GuidDir") = L"/opt/old/etc";
    EXPECT_TRUE(Write(&m_installed));
    EXPECT_EQ(Written(L"Configuration", L"tmpdir"), L"/opt/agent/tmp");
    EXPECT_EQ(Written(L"Configuration", L"basicinv_use_resolv_conf"), L"1");
    EXPECT_EQ(Written(L"Configuration", L"debug_level"), L"Error");
    EXPECT_EQ(Written(L"Client Transport", L"ssl_verify_peer"), L"yes");
    EXPECT_EQ(Written(L"Client Transport", L"ssl_ca_info"), L"");
    EXPECT_EQ(Written(L"Client Details", L"ContactName"), L"");
    EXPECT_EQ(Written(L"Configuration", L"guid_guid_file"), L"/opt/agent/etc/host.GUID");
}

TEST_F(ClientConf, AnAnswerReplacesTheCarriedValueInTheFile) {
    testfiles::Write(kOld, "[Configuration]\ntmpdir=/old/tmp\npackage_storage_path=/old/packages\n");
    Setting(L"IsInteractive") = L"yes";
    Setting(L"TempDir") = L"/answered";
    EXPECT_TRUE(Write(&m_installed));
    EXPECT_EQ(Written(L"Configuration", L"tmpdir"), L"/answered");
    EXPECT_EQ(Written(L"Configuration", L"package_storage_path"), L"/old/packages");
}

TEST_F(ClientConf, SubAgentsAreCarriedFromAgentsThatKnowThem) {
    testfiles::Write(kOld, "[Configuration]\nsub_agent_names=mine\n");
    EXPECT_TRUE(Write(&m_installed));
    EXPECT_EQ(Written(L"Configuration", L"sub_agent_names"), L"mine");
    m_installed.registersSubAgents = false;
    EXPECT_TRUE(Write(&m_installed));
    EXPECT_EQ(Written(L"Configuration", L"sub_agent_names"), L"");
}

TEST_F(ClientConf, ValuesOfAnotherEncodingPassThrough) {
    testfiles::Write(kOld, "[Client Details]\nlocation=K\xf6ln\n[SWD]\npkg_access_password=a=b;#\xff\n");
    EXPECT_TRUE(Write(&m_installed));
    const std::string text = testfiles::Read(kOutput);
    EXPECT_NE(text.find("\nLocation=K\xf6ln\n"), std::string::npos);
    EXPECT_NE(text.find("\npkg_access_password=a=b;#\xff\n"), std::string::npos);
}

TEST_F(ClientConf, TheTemplatesOtherLinesStayByteForByte) {
    const std::string text = "# c\r\n\n  [Version] \nagent_major=6\n; x\n[Kell Servers]\nserver-1=s\nlast";
    testfiles::Write(kProto, text);
    EXPECT_TRUE(Write());
    EXPECT_TRUE(testfiles::Read(kOutput).starts_with(text)) << testfiles::Read(kOutput);
}

TEST_F(ClientConf, UpgradingAnUpgradedFileChangesNothing) {
    testfiles::Write(kOld,
                     "[Configuration]\ninstalldir=/opt/agent\ntmpdir=/opt/agent/tmp\nbindir=/usr/bin\n"
                     "var=/opt/agent\nsub_agent_names=a\nsub_agent_versions=1\nagent_roles=r\n"
                     "transport_timeout=7\nswd_temporary_dir=/t\ndebug_backup_copies=9\n"
                     "basicinv_use_resolv_conf=0\n[Event Queue]\nlevel1-retrys=3\n[Client Transport]\n"
                     "ssl_verify_peer=true\nssl_ca_path=ca\n[Client Details]\nassettag=null\n"
                     "Location=K\xf6ln\n[Class Servers]\na.server=A\n[A]\nx=1\n[Static Agents]\nb=1\n");
    EXPECT_TRUE(Write(&m_installed));
    const std::string once = testfiles::Read(kOutput);
    testfiles::Write(kOld, once);
    m_settings = SettingsOfARun();
    EXPECT_TRUE(Write(&m_installed));
    EXPECT_EQ(testfiles::Read(kOutput), once);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
