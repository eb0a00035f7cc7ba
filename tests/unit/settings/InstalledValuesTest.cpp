// An installed agent's settings: which count, which are marked, and what is told of those that lose.
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "settings/EnvironmentOverrides.h"
#include "settings/InstalledValues.h"
#include "settings/XmlConfig.h"
#include "tests/support/Captured.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/PrintString.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::BasicXml;
using corekit::String;
using testsupport::Captured;
using testsupport::EnvironmentVariable;

class InstalledValues : public testing::Test {
  protected:
    InstalledValues() : m_settings(DefaultSettings()) {
        Installed(L"InstallDir", L"/opt/old");
        Installed(L"KSName", L"kell.example.com");
        Installed(L"KSUrlFormat", L"https://%server%/Zorvane/");
        Installed(L"Guid", L"{OLD}");
    }

    void Installed(SettingName name, const wchar_t* value) {
        m_installed.Set(name, value, {Source::Kind::Installed, L"/opt/old/etc/client.conf", 7});
    }

    /// Merges what an XML file (none when empty), the environment and the installed agent give.
    void Merge(const std::string& xml = "") {
        ApplyEnvironmentOverrides(*m_settings);
        if (!xml.empty()) {
            const std::string document = "<KSAgentConfiguration>" + xml + "</KSAgentConfiguration>";
            m_settings->Merge(*ReadXmlConfig(BasicXml(document), L"/tmp/x.xml"));
        }
        MergeInstalledValues(*m_settings, m_installed, xml.empty() ? XmlFile::None : XmlFile::Loaded);
    }

    String Get(SettingName name) const { return m_settings->Get(name); }
    std::string Told() const {
        return Captured([&] { WarnOfUnusedValues(*m_settings); }).err;
    }

    std::unique_ptr<Settings> m_settings;
    Settings m_installed;
};

TEST_F(InstalledValues, TheServerOfTheInstalledAgentIsTakenWhole) {
    const EnvironmentVariable server("QDN_INSTALL_KSNAME", "http://other:8080");
    Merge();
    EXPECT_EQ(Get(L"KSName"), L"kell.example.com");
    EXPECT_EQ(Get(L"KSProtocol"), L"https");
    EXPECT_EQ(Get(L"KSUrlFormat"), L"https://%server%/Zorvane/");
}

TEST_F(InstalledValues, AnInstalledServerWithoutAUrlFormatIsOneOfHttp) {
    const EnvironmentVariable server("QDN_INSTALL_KSNAME", "https://other");
    Installed(L"KSUrlFormat", L"");
    Merge();
    EXPECT_EQ(Get(L"KSName"), L"kell.example.com");
    EXPECT_EQ(Get(L"KSUrlFormat"), L"http://%server%/Zorvane/");
}

TEST_F(InstalledValues, AServerOfTheEnvironmentThatLosesDropsNoIdentifier) {
    const EnvironmentVariable server("QDN_INSTALL_KSNAME", "https://other");
    Merge();
    EXPECT_EQ(Get(L"Guid"), L"{OLD}");
    EXPECT_FALSE(m_settings->Exists(L"KSNameChanged"));
}

TEST_F(InstalledValues, AServerOfTheXmlFileWinsWholeAndDropsTheIdentifier) {
    Merge("<KSName>new.example.com</KSName>");
    EXPECT_EQ(Get(L"KSName"), L"new.example.com");
    EXPECT_EQ(Get(L"KSProtocol"), L"http");
    EXPECT_EQ(Get(L"KSUrlFormat"), L"http://%server%/Zorvane/");
    EXPECT_EQ(Get(L"KSNameChanged"), L"true");
    EXPECT_EQ(Get(L"Guid"), L"");
}

TEST_F(InstalledValues, AnIdentifierOfTheXmlFileWins) {
    Merge("<KSName>new.example.com</KSName><Guid>n</Guid>");
    EXPECT_EQ(Get(L"Guid"), L"{N}");
    EXPECT_EQ(Get(L"KSNameChanged"), L"true");
}

TEST_F(InstalledValues, AnXmlFileWithoutAServerLeavesTheHttpsOfTheEnvironment) {
    const EnvironmentVariable server("QDN_INSTALL_KSNAME", "https://kell");
    Merge("<KSProtocol>http</KSProtocol><Settings RunLevel='rc3'/>");
    EXPECT_EQ(Get(L"KSName"), L"kell");
    EXPECT_EQ(Get(L"KSProtocol"), L"https");
    EXPECT_EQ(Get(L"KSUrlFormat"), L"https://%server%/Zorvane/");
    EXPECT_EQ(Get(L"Guid"), L"{OLD}");
}

TEST_F(InstalledValues, ARecordedNoCounts_OnlyWhereNothingElseSaysOtherwise) {
    for (const SettingName name :
         std::initializer_list<SettingName>{L"AllowNonRoot", L"StartupOnBoot", L"EnableNICError"}) {
        SCOPED_TRACE(String(name).Utf8());
        Installed(name, L"no");
        Merge();
        EXPECT_EQ(Get(name), L"no");
        m_settings = DefaultSettings();
        Merge("<Settings " + String(name).Utf8() + "='yes'/>");
        EXPECT_EQ(Get(name), L"yes");
        m_settings = DefaultSettings();
    }
}

TEST_F(InstalledValues, EachValueOfTheXmlFileCounts_WhenItOverrides) {
    const EnvironmentVariable override("QDN_INSTALL_OVERRIDE", "yes");
    Installed(L"LogSize", L"512");
    Installed(L"LogLevel", L"Debug");
    Installed(L"RunLevel", L"rc3;");
    Merge("<Location>Bern</Location><Settings><EventLog LogSize=\"1024\"/></Settings>");
    EXPECT_EQ(Get(L"LogSize"), L"1024");
    EXPECT_EQ(Get(L"Location"), L"Bern");
    EXPECT_EQ(Get(L"LogLevel"), L"Debug");
    EXPECT_EQ(Get(L"RunLevel"), L"rc3;");
    EXPECT_EQ(Get(L"KSName"), L"kell.example.com");
    EXPECT_EQ(Get(L"Guid"), L"{OLD}");
    EXPECT_EQ(Told(), "");
}

TEST_F(InstalledValues, OnlyAYesMakesTheXmlFileOverride) {
    Installed(L"LogSize", L"512");
    for (const char* value : {"no", "", "never"}) {
        const EnvironmentVariable override("QDN_INSTALL_OVERRIDE", value);
        Merge("<Settings><EventLog LogSize=\"1024\"/></Settings>");
        EXPECT_EQ(Get(L"LogSize"), L"512") << value;
    }
}

TEST_F(InstalledValues, AnUnusedValueIsWarnedOfWithItsPlace) {
    Installed(L"LogSize", L"512");
    Installed(L"TempDir", L"/var/tmp");
    Merge("<Settings RunLevel='rc3'><EventLog LogSize='256'/><TempDir>/tmp/x</TempDir></Settings>");
    EXPECT_EQ(
        Told(),
        "WARNING! /tmp/x.xml:1:58: LogSize \"256\" is not used: the installed agent has \"512\".\n"
        "WARNING! /tmp/x.xml:1:73: TempDir \"/tmp/x\" is not used: the installed agent has \"/var/tmp\".\n");
}

TEST_F(InstalledValues, AnUnusedValueOfTheEnvironmentIsWarnedOfWithItsVariable) {
    const EnvironmentVariable server("QDN_INSTALL_KSNAME", "https://other:8083");
    const EnvironmentVariable levels("QDN_INSTALL_RUNLEVELS", "3");
    const EnvironmentVariable start("QDN_INSTALL_AUTOSTART", "no");
    Installed(L"RunLevel", L"rc2;rc5;");
    Merge();
    EXPECT_EQ(
        Told(),
        "WARNING! QDN_INSTALL_KSNAME: KSName \"https://other:8083\" is not used: the installed agent has "
        "\"kell.example.com\".\n"
        "WARNING! QDN_INSTALL_RUNLEVELS: RunLevel \"3\" is not used: the installed agent has \"rc2;rc5;\".\n");
}

TEST_F(InstalledValues, AValueThatAnEmptyOneOverridesIsWarnedOf) {
    Merge("<AssetTag>A1</AssetTag>");
    m_settings->Set(L"AssetTag", L"", {Source::Kind::Installed});
    EXPECT_EQ(Told(),
              "WARNING! /tmp/x.xml:1:23: AssetTag \"A1\" is not used: the installed agent has \"\".\n");
    m_settings = DefaultSettings();
    Merge("<Settings><TempDir>/tmp/x</TempDir></Settings>");
    m_settings->Set(L"TempDir", L"", {Source::Kind::Installed});
    EXPECT_EQ(Told(),
              "WARNING! /tmp/x.xml:1:33: TempDir \"/tmp/x\" is not used: the installed agent has \"\".\n");
}

TEST_F(InstalledValues, AnEmptyValueThatIsNotUsedIsNotWarnedOf) {
    m_settings->Set(L"RunLevel", L"", {Source::Kind::Xml, L"/tmp/x.xml", 1, 1});
    m_settings->Set(L"RunLevel", L"rc3;", {Source::Kind::Installed});
    EXPECT_EQ(Told(), "");
}

TEST_F(InstalledValues, AnEmptyValueDoesNotStandAgainstARecordedNo) {
    m_settings->Set(L"AllowNonRoot", L"", {Source::Kind::Xml, L"/tmp/x.xml", 1, 1});
    Installed(L"AllowNonRoot", L"no");
    Merge();
    EXPECT_EQ(Get(L"AllowNonRoot"), L"no");
}

TEST_F(InstalledValues, TwoWordsThatAreNoNumberAreNotTheSame) {
    Installed(L"LogSize", L"none");
    Merge("<Settings><EventLog LogSize='x'/></Settings>");
    EXPECT_EQ(Told(),
              "WARNING! /tmp/x.xml:1:43: LogSize \"x\" is not used: the installed agent has \"none\".\n");
}

TEST_F(InstalledValues, AValueThatMeansTheSameOrIsUsedIsNotWarnedOf) {
    const struct {
        SettingName setting;
        const wchar_t* installed;
        const char* xml;
    } table[] = {
        {L"UseDomain", L"1", "<Settings UseDomain='YES'/>"},
        {L"LogLevel", L"info", "<Settings><EventLog LogLevel='INFO'/></Settings>"},
        {L"LogSize", L"256", "<Settings><EventLog LogSize='0256'/></Settings>"},
        {L"LogSize", L"none", "<Settings><EventLog LogSize='none'/></Settings>"},
        {L"RunLevel", L"rc3;", "<Settings RunLevel=''/>"},
        {L"RunLevel", L"rc3;rc5;", "<Settings RunLevel='5 3'/>"},
        {L"TempDir", L"/opt/old/tmp", "<Settings><TempDir>%INSTDIR%/tmp/</TempDir></Settings>"},
        {L"Location", L"", "<Location>none</Location>"},
        {L"LogFile", L"", "<Settings><EventLog LogFile='used.log'/></Settings>"},
        {L"Start", L"", "<Settings Start='no'/>"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.xml);
        m_settings = DefaultSettings();
        m_installed = Settings();
        Installed(L"InstallDir", L"/opt/old");
        Installed(row.setting, row.installed);
        Merge(row.xml);
        EXPECT_EQ(Told(), "");
    }
}

TEST_F(InstalledValues, EachSettingIsComparedByWhatItsValueMeans) {
    const struct {
        const wchar_t* given;
        const wchar_t* installed;
        std::vector<SettingName> settings;
    } table[] = {
        {L"5 3", L"rc3;rc5;", {L"RunLevel"}},
        {L"0256", L"256", {L"LogSize"}},
        {L"INFO", L"info", {L"LogLevel", L"SysLogLevel"}},
        {L"yes", L"1", {L"UseDomain", L"SSLVerifyPeer", L"SSLVerifyHost", L"EnableNICError"}},
        {L"/opt/old/", L"/opt/old", {L"InstallDir"}},
        {L"%INSTDIR%/x/",
         L"/opt/old/x",
         {L"CAInfo", L"CAPath", L"LogDir", L"BinDir", L"TempDir", L"GuidDir", L"EventQueueDir", L"TasksDir",
          L"PackagesDir", L"SWDDir"}},
        {L"null",
         L"none",
         {L"SerialNumber", L"AssetTag", L"EmployeeID", L"ContactName", L"ContactPhone", L"ContactEmail",
          L"Location", L"Department", L"Description"}},
    };
    for (const auto& row : table) {
        for (const SettingName name : row.settings) {
            SCOPED_TRACE(String(name).Utf8());
            m_settings = DefaultSettings();
            m_settings->Set(L"InstallDir", L"/opt/old", {Source::Kind::Installed});
            m_settings->Set(name, row.given, {Source::Kind::Xml, L"/tmp/x.xml", 1, 1});
            m_settings->Set(name, row.installed, {Source::Kind::Installed});
            EXPECT_EQ(Told(), "");
            m_settings->Set(name, L"9", {Source::Kind::Installed});
            EXPECT_NE(Told(), "");
        }
    }
}

TEST_F(InstalledValues, TheSameServerInOtherWordsIsNotWarnedOf) {
    for (const char* same : {"https://kell", "https://KELL.example.com", "https://kell.example.com:443"}) {
        SCOPED_TRACE(same);
        const EnvironmentVariable server("QDN_INSTALL_KSNAME", same);
        m_settings = DefaultSettings();
        Merge();
        EXPECT_EQ(Told(), "");
    }
}

TEST_F(InstalledValues, AnotherSchemeIsAnotherServer) {
    const EnvironmentVariable server("QDN_INSTALL_KSNAME", "http://kell.example.com:443");
    Merge();
    EXPECT_EQ(
        Told(),
        "WARNING! QDN_INSTALL_KSNAME: KSName \"http://kell.example.com:443\" is not used: the installed "
        "agent has \"kell.example.com\".\n");
}

TEST_F(InstalledValues, ExtraSettingsOfTheXmlFileAreWarnedOfInOneLine) {
    Merge(
        "<ExtraConfigSettings><Setting Section='a' Name='b' Value='c'/><Setting Name='d' Value='e'/>"
        "</ExtraConfigSettings>");
    EXPECT_EQ(
        Told(),
        "WARNING! /tmp/x.xml: 2 extra settings are not used: an upgrade keeps those of the installed agent.\n");
    m_settings->Set(L"Upgrade", L"no", {});
    EXPECT_EQ(Told(), "");
}

TEST_F(InstalledValues, TheValuesThatLostAndTheirSourcesAreKept) {
    Installed(L"LogSize", L"512");
    Merge("<Settings><EventLog LogSize='128'/></Settings>");
    const SettingRecord& record = m_settings->Record(L"LogSize");
    EXPECT_EQ(record.used,
              (SourcedValue{L"512", {Source::Kind::Installed, L"/opt/old/etc/client.conf", 7}, L"512"}));
    ASSERT_EQ(record.unused.size(), 2U);
    EXPECT_EQ(record.unused[0], (SourcedValue{L"256", {Source::Kind::Default}, L"256"}));
    EXPECT_EQ(record.unused[1], (SourcedValue{L"128", {Source::Kind::Xml, L"/tmp/x.xml", 1, 43}, L"128"}));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
