// The environment overrides: what each variable accepts, and the warning about what it does not.
#include <gtest/gtest.h>

#include "run/Args.h"
#include "settings/EnvironmentOverrides.h"
#include "settings/XmlConfig.h"
#include "tests/support/Captured.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/PrintString.h"

namespace Zorvane::AgentInstaller {
namespace {

using testsupport::Captured;
using testsupport::EnvironmentVariable;

std::string WarningAbout(const std::string& variable) {
    return "WARNING! Environment variable " + variable +
           " contains an invalid value.\n"
           "A default value for the appropriate setting will be used.\n";
}

class EnvironmentOverrides : public testing::Test {
  protected:
    /// Applies the overrides to the defaults, with this value of one of the variables.
    void Apply(const char* variable, const std::string& value) {
        const EnvironmentVariable override(variable, value);
        Apply();
    }
    void Apply() {
        m_settings = DefaultSettings();
        m_output = Captured([&] { ApplyEnvironmentOverrides(*m_settings); });
        EXPECT_EQ(m_output.out, "");
    }
    corekit::String Get(SettingName setting) const { return m_settings->Get(setting); }

  private:
    const EnvironmentVariable m_noName{"QDN_INSTALL_KSNAME", std::nullopt};
    const EnvironmentVariable m_noAutostart{"QDN_INSTALL_AUTOSTART", std::nullopt};
    const EnvironmentVariable m_noRunLevels{"QDN_INSTALL_RUNLEVELS", std::nullopt};

  protected:
    std::unique_ptr<Settings> m_settings;
    testsupport::Output m_output;
};

TEST_F(EnvironmentOverrides, VariablesThatAreUnsetOrEmptyChangeNothing) {
    const auto expectDefaults = [&] {
        EXPECT_EQ(Get(L"KSName"), L"");
        EXPECT_EQ(Get(L"KSProtocol"), L"http");
        EXPECT_EQ(Get(L"Start"), L"yes");
        EXPECT_EQ(Get(L"RunLevel"), L"rc2;rc3;rc5");
        EXPECT_EQ(m_output.err, "");
    };
    Apply();
    expectDefaults();
    for (const char* variable : {"QDN_INSTALL_KSNAME", "QDN_INSTALL_AUTOSTART", "QDN_INSTALL_RUNLEVELS"}) {
        Apply(variable, "");
        expectDefaults();
    }
}

TEST_F(EnvironmentOverrides, TheServerIsTakenFromAUrl) {
    const struct {
        const char* value;
        const wchar_t* name;
        const wchar_t* protocol;
        const wchar_t* format;
    } table[] = {
        {"srv", L"srv", L"http", L"http://%server%/Zorvane/"},
        {"srv:8080", L"srv:8080", L"http", L"http://%server%/Zorvane/"},
        {"srv:80", L"srv", L"http", L"http://%server%/Zorvane/"},
        {"http://srv.example:8080", L"srv.example:8080", L"http", L"http://%server%/Zorvane/"},
        {"https://srv:443", L"srv", L"https", L"https://%server%/Zorvane/"},
        {"https://srv:8083/Zorvane/", L"srv:8083", L"https", L"https://%server%/Zorvane/"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.value);
        Apply("QDN_INSTALL_KSNAME", row.value);
        EXPECT_EQ(Get(L"KSName"), row.name);
        EXPECT_EQ(Get(L"KSProtocol"), row.protocol);
        EXPECT_EQ(Get(L"KSUrlFormat"), row.format);
        EXPECT_EQ(m_output.err, "");
    }
}

TEST_F(EnvironmentOverrides, WarnsOfAServerThatIsNotValid) {
    for (const char* value : {"ftp://srv", "gopher://srv", "HTTPS://srv", "http://", " ", "srv:port", "srv:0",
                              "srv:65536", "two words"}) {
        SCOPED_TRACE(value);
        Apply("QDN_INSTALL_KSNAME", value);
        EXPECT_EQ(m_output.err, WarningAbout("QDN_INSTALL_KSNAME"));
        EXPECT_EQ(Get(L"KSName"), L"");
        EXPECT_EQ(Get(L"KSProtocol"), L"http");
        EXPECT_EQ(Get(L"KSUrlFormat"), L"http://%server%/Zorvane/");
    }
}

TEST_F(EnvironmentOverrides, TheStartTakesBooleanWordsInAnyCase) {
    for (const char* value : {"y", "yes", "true", "1", "Y", "YES", "TRUE", "True"}) {
        SCOPED_TRACE(value);
        Apply("QDN_INSTALL_AUTOSTART", value);
        EXPECT_EQ(Get(L"Start"), L"yes");
        EXPECT_EQ(m_output.err, "");
    }
    for (const char* value : {"n", "no", "false", "0", "N", "No", "FALSE"}) {
        SCOPED_TRACE(value);
        Apply("QDN_INSTALL_AUTOSTART", value);
        EXPECT_EQ(Get(L"Start"), L"no");
        EXPECT_EQ(m_output.err, "");
    }
}

TEST_F(EnvironmentOverrides, WarnsOfOtherWordsForTheStart) {
    for (const char* value : {"maybe", "on", "off", " yes", "yes ", "10", "nope"}) {
        SCOPED_TRACE(value);
        Apply("QDN_INSTALL_AUTOSTART", value);
        EXPECT_EQ(m_output.err, WarningAbout("QDN_INSTALL_AUTOSTART"));
        EXPECT_EQ(Get(L"Start"), L"yes");
    }
}

TEST_F(EnvironmentOverrides, RunLevelsAreTakenAsTheyStand_WhenTheyHoldADigit) {
    for (const char* value : {"2 3 5", "rc3", "rc35", "x9", " 0 "}) {
        SCOPED_TRACE(value);
        Apply("QDN_INSTALL_RUNLEVELS", value);
        EXPECT_EQ(Get(L"RunLevel").Utf8(), value);
        EXPECT_EQ(m_output.err, "");
    }
    for (const char* value : {"none", "rc", " "}) {
        SCOPED_TRACE(value);
        Apply("QDN_INSTALL_RUNLEVELS", value);
        EXPECT_EQ(m_output.err, WarningAbout("QDN_INSTALL_RUNLEVELS"));
        EXPECT_EQ(Get(L"RunLevel"), L"rc2;rc3;rc5");
    }
}

TEST_F(EnvironmentOverrides, ABadVariableDoesNotStopTheOthersAndQuietDoesNotSilenceTheWarning) {
    const EnvironmentVariable name("QDN_INSTALL_KSNAME", "ftp://srv");
    const EnvironmentVariable start("QDN_INSTALL_AUTOSTART", "no");
    const EnvironmentVariable levels("QDN_INSTALL_RUNLEVELS", "none");
    Args::bQuiet = true;
    Apply();
    EXPECT_EQ(m_output.err, WarningAbout("QDN_INSTALL_KSNAME") + WarningAbout("QDN_INSTALL_RUNLEVELS"));
    EXPECT_EQ(Get(L"Start"), L"no");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
