// The dialogue of the interactive configuration: which questions, which proposals, and what is stored.
#include "settings/ServerUrl.h"
#include "tests/unit/settings/QuestionnaireFixture.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

TEST_F(Questionnaire, AsksAllQuestionsAndStoresTheAnswers) {
    EXPECT_TRUE(Run("srv\n" + kRestByDefault));
    EXPECT_EQ(m_output.out,
              kIntroduction + Asked(L"KSName", "") + Asked(L"InstallDir", "/opt/zorvane/kell/ksagent") +
                  Asked(L"Upgrade", "yes") + Asked(L"AllowNonRoot", "yes") +
                  Asked(L"RunLevel", "rc2;rc3;rc5") + Asked(L"LogDir", "/opt/zorvane/kell/ksagent/var") +
                  Asked(L"LogFile", "qdn-client.log") + Asked(L"LogSize", "256") +
                  Asked(L"LogLevel", "Error") + Asked(L"SysLogLevel", "None") + Asked(L"BinDir", "/usr/bin") +
                  Asked(L"TempDir", "/tmp") + Asked(L"EventQueueDir", "/opt/zorvane/kell/ksagent/var/queue") +
                  Asked(L"TasksDir", "/opt/zorvane/kell/ksagent/var/tasks") + Asked(L"Start", "yes"));
    const struct {
        SettingName setting;
        const wchar_t* value;
    } stored[] = {
        {L"KSName", L"srv"},
        {L"KSProtocol", L"http"},
        {L"KSUrlFormat", L"http://%server%/Zorvane/"},
        {L"InstallDir", L"/opt/zorvane/kell/ksagent"},
        {L"Upgrade", L"yes"},
        {L"AllowNonRoot", L"yes"},
        {L"RunLevel", L"rc2;rc3;rc5"},
        {L"LogDir", L"/opt/zorvane/kell/ksagent/var"},
        {L"LogFile", L"qdn-client.log"},
        {L"LogSize", L"256"},
        {L"LogLevel", L"Error"},
        {L"SysLogLevel", L"None"},
        {L"BinDir", L"/usr/bin"},
        {L"TempDir", L"/tmp"},
        {L"EventQueueDir", L"/opt/zorvane/kell/ksagent/var/queue"},
        {L"TasksDir", L"/opt/zorvane/kell/ksagent/var/tasks"},
        {L"Start", L"yes"},
        {L"IsInteractive", L"yes"},
    };
    for (const auto& row : stored) EXPECT_EQ(Setting(row.setting), row.value) << String(row.setting).Utf8();
}

TEST_F(Questionnaire, TypedAnswersReplaceTheProposals) {
    std::filesystem::create_directories("/opt/zorvane/links");
    EXPECT_TRUE(
        Run("https://srv:8080\n/opt/zorvane\nYes\nno\nrc4\n/l\nx.log\n12\nDEBUG\nInfo\n"
            "/opt/zorvane/links\n/t\n/q\n/tasks\nNo, thanks\n"));
    const struct {
        SettingName setting;
        const wchar_t* value;
    } stored[] = {
        {L"KSName", L"srv:8080"},
        {L"KSProtocol", L"https"},
        {L"KSUrlFormat", L"https://%server%/Zorvane/"},
        {L"InstallDir", L"/opt/zorvane"},
        {L"Upgrade", L"yes"},
        {L"AllowNonRoot", L"no"},
        {L"RunLevel", L"rc4"},
        {L"LogDir", L"/l"},
        {L"LogFile", L"x.log"},
        {L"LogSize", L"12"},
        {L"LogLevel", L"DEBUG"},
        {L"SysLogLevel", L"Info"},
        {L"BinDir", L"/opt/zorvane/links"},
        {L"TempDir", L"/t"},
        {L"EventQueueDir", L"/q"},
        {L"TasksDir", L"/tasks"},
        {L"Start", L"no"},
    };
    for (const auto& row : stored) EXPECT_EQ(Setting(row.setting), row.value) << String(row.setting).Utf8();
}

TEST_F(Questionnaire, DirectoriesBelowAnInstallDirectoryThatWasTypedAreProposed) {
    GivenAPackage("/opt/zorvane/agent");
    EXPECT_TRUE(Run("srv\n/opt/zorvane/agent\n" + kRestByDefault));
    EXPECT_NE(m_output.out.find(" (/opt/zorvane/agent/var): "), std::string::npos);
    EXPECT_EQ(Setting(L"LogDir"), L"/opt/zorvane/agent/var");
    EXPECT_EQ(Setting(L"EventQueueDir"), L"/opt/zorvane/agent/var/queue");
    EXPECT_EQ(Setting(L"TasksDir"), L"/opt/zorvane/agent/var/tasks");
}

TEST_F(Questionnaire, WithoutAnUpgradeItDoesNotAskForOneAndProposesTheTablesDefaults) {
    Setting(L"Upgrade") = L"no";
    Setting(L"KSName") = L"srv.example";
    Setting(L"InstallDir") = L"/opt/zorvane";
    Setting(L"RunLevel") = L"rc4";
    Setting(L"LogDir") = L"/l";
    Setting(L"LogFile") = L"x.log";
    Setting(L"Start") = L"no";
    EXPECT_TRUE(Run("srv\n" + kRestByDefault));
    EXPECT_EQ(m_output.out, kIntroduction + Asked(L"KSName", "") + Asked(L"InstallDir", "/opt/zorvane") +
                                Asked(L"AllowNonRoot", "yes") + Asked(L"RunLevel", "rc2;rc3;rc5") +
                                Asked(L"LogDir", "/opt/zorvane/var") + Asked(L"LogFile", "qdn-client.log") +
                                Asked(L"LogSize", "256") + Asked(L"LogLevel", "Error") +
                                Asked(L"SysLogLevel", "None") + Asked(L"BinDir", "/usr/bin") +
                                Asked(L"TempDir", "/tmp") +
                                Asked(L"EventQueueDir", "/opt/zorvane/var/queue") +
                                Asked(L"TasksDir", "/opt/zorvane/var/tasks") + Asked(L"Start", "yes"));
    EXPECT_EQ(Setting(L"Upgrade"), L"no");
    EXPECT_EQ(Setting(L"LogFile"), L"qdn-client.log");
}

TEST_F(Questionnaire, Ends_WhenTheInstalledAgentCannotBeTakenUp) {
    Setting(L"KSName") = L"srv.example";
    Setting(L"InstallDir") = L"/opt/zorvane";
    const testsupport::StandardInput input("\n\n" + kRestByDefault);
    const auto output = testsupport::Captured([&] {
        m_outcome = RunQuestionnaire(*m_settings, [](const corekit::String&, Settings&) -> Outcome<bool> {
            return Fail(L"it cannot be read");
        });
    });
    ASSERT_FALSE(m_outcome);
    EXPECT_EQ(m_outcome.error().text, L"it cannot be read");
    EXPECT_EQ(output.out,
              kIntroduction + Asked(L"KSName", "srv.example") + Asked(L"InstallDir", "/opt/zorvane"));
}

TEST_F(Questionnaire, ARejectedUpgradeResetsTheProposalsButForTheInstallDirectory) {
    Setting(L"KSName") = L"srv.example";
    Setting(L"InstallDir") = L"/opt/zorvane";
    Setting(L"RunLevel") = L"rc4";
    Setting(L"LogFile") = L"x.log";
    EXPECT_TRUE(Run("\n\nn\n" + kRestByDefault));
    EXPECT_TRUE(m_output.out.starts_with(kIntroduction + Asked(L"KSName", "srv.example") +
                                         Asked(L"InstallDir", "/opt/zorvane") + Asked(L"Upgrade", "yes") +
                                         Asked(L"AllowNonRoot", "yes") + Asked(L"RunLevel", "rc2;rc3;rc5")))
        << m_output.out;
    EXPECT_EQ(Setting(L"Upgrade"), L"no");
    EXPECT_EQ(Setting(L"LogFile"), L"qdn-client.log");
    EXPECT_EQ(Setting(L"KSName"), L"srv.example");
}

TEST_F(Questionnaire, AnUpgradeProposesTheCurrentValues_OrElseThoseOfTheTable) {
    Setting(L"RunLevel") = L"rc4";
    Setting(L"LogFile") = L"";
    EXPECT_TRUE(Run("srv\n" + kRestByDefault));
    EXPECT_NE(
        m_output.out.find(Asked(L"RunLevel", "rc4") + Asked(L"LogDir", "/opt/zorvane/kell/ksagent/var") +
                          Asked(L"LogFile", "qdn-client.log")),
        std::string::npos);
}

TEST_F(Questionnaire, AnUpgradeThatIsNotExactlyYesCountsAsNone) {
    for (const wchar_t* word : {L"", L"Yes", L"true"}) {
        SCOPED_TRACE(word);
        Setting(L"Upgrade") = word;
        EXPECT_TRUE(Run("srv\n" + kRestByDefault));
        EXPECT_EQ(m_output.out.find(Asked(L"Upgrade", "yes")), std::string::npos);
        EXPECT_EQ(Setting(L"Upgrade"), word);
    }
}

TEST_F(Questionnaire, TheFirstQuestionNeedsAnAnswer_WhenThereIsNoServer) {
    EXPECT_TRUE(Run("\n  \nsrv\n" + kRestByDefault));
    const std::string asked = Asked(L"KSName", "");
    EXPECT_TRUE(m_output.out.starts_with(kIntroduction + asked + kInvalid + asked + kInvalid + asked +
                                         Asked(L"InstallDir", "/opt/zorvane/kell/ksagent")))
        << m_output.out;
    EXPECT_EQ(Setting(L"KSName"), L"srv");
}

TEST_F(Questionnaire, TheServerIsComposedFromTheAnswer) {
    const struct {
        const char* typed;
        const wchar_t* name;
        const wchar_t* protocol;
    } table[] = {
        {"srv", L"srv", L"http"},
        {"srv:80", L"srv", L"http"},
        {"http://srv:8080", L"srv:8080", L"http"},
        {"https://srv:8080", L"srv:8080", L"https"},
        {"https://srv", L"srv", L"https"},
        {"ftp://srv", L"srv", L"ftp"},
        {"  https://srv/ \t", L"srv", L"https"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.typed);
        Setting(L"KSName") = String();
        EXPECT_TRUE(Run(std::string(row.typed) + "\n" + kRestByDefault));
        EXPECT_EQ(Setting(L"KSName"), row.name);
        EXPECT_EQ(Setting(L"KSProtocol"), row.protocol);
        EXPECT_EQ(Setting(L"KSUrlFormat"), String(row.protocol) + L"://%server%/Zorvane/");
    }
}

TEST_F(Questionnaire, ConfirmingTheServerKeepsItsScheme) {
    const struct {
        const wchar_t* name;
        const wchar_t* format;
        const wchar_t* protocol;
        const wchar_t* kept;
    } table[] = {
        {L"srv", L"https://%server%/Zorvane/", L"https", L"srv"},
        {L"srv:8083", L"https://%server%/Zorvane/", L"https", L"srv:8083"},
        {L"srv:80", L"https://%server%/Zorvane/", L"https", L"srv:80"},
        {L"srv", L"http://%server%/Zorvane/", L"http", L"srv"},
        {L"srv", L"", L"http", L"srv"},
        {L"https://srv", L"http://%server%/Zorvane/", L"https", L"srv"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.name);
        Setting(L"KSName") = row.name;
        Setting(L"KSUrlFormat") = row.format;
        EXPECT_TRUE(Run("\n" + kRestByDefault));
        EXPECT_EQ(Setting(L"KSName"), row.kept);
        EXPECT_EQ(Setting(L"KSProtocol"), row.protocol);
        EXPECT_EQ(Setting(L"KSUrlFormat"), String(row.protocol) + L"://%server%/Zorvane/");
    }
}

TEST_F(Questionnaire, ProposesTheServerWithItsScheme_UnlessThatIsHttp) {
    const struct {
        const wchar_t* name;
        const wchar_t* format;
        const char* proposal;
    } table[] = {
        {L"srv", L"http://%server%/Zorvane/", "srv"},
        {L"srv:8080", L"http://%server%/Zorvane/", "srv:8080"},
        {L"srv", L"https://%server%/Zorvane/", "https://srv"},
        {L"srv:8083", L"https://%server%/own/path/", "https://srv:8083"},
        {L"https://srv", L"http://%server%/Zorvane/", "https://srv"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.proposal);
        for (const std::string typed : {"", row.proposal}) {
            Setting(L"KSName") = row.name;
            Setting(L"KSUrlFormat") = row.format;
            EXPECT_TRUE(Run(typed + "\n" + kRestByDefault));
            EXPECT_TRUE(m_output.out.starts_with(kIntroduction + Asked(L"KSName", row.proposal)))
                << m_output.out;
            EXPECT_EQ(CurrentServer(*m_settings).GetProtocol(),
                      ServerUrl(String::FromUtf8(row.proposal)).GetProtocol());
            EXPECT_FALSE(m_settings->IsSet(L"KSNameChanged"));
        }
    }
}

TEST_F(Questionnaire, KeepsAUrlFormatOfTheAdministratorsOwn_WhileTheServerStays) {
    const struct {
        const char* typed;
        const wchar_t* format;
    } table[] = {
        {"", L"https://%server%/own/path/"},
        {"https://srv:8083", L"https://%server%/own/path/"},
        {"https://SRV:8083/", L"https://%server%/own/path/"},
        {"https://srv", L"https://%server%/Zorvane/"},
        {"http://srv:8083", L"http://%server%/Zorvane/"},
        {"https://other:8083", L"https://%server%/Zorvane/"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.typed);
        Setting(L"KSName") = L"srv:8083";
        Setting(L"KSUrlFormat") = L"https://%server%/own/path/";
        EXPECT_TRUE(Run(std::string(row.typed) + "\n" + kRestByDefault));
        EXPECT_EQ(Setting(L"KSUrlFormat"), row.format);
    }
}

TEST_F(Questionnaire, ABareNameMeansHttp_EvenIfItWasHttps) {
    Setting(L"KSName") = L"srv";
    Setting(L"KSUrlFormat") = L"https://%server%/Zorvane/";
    EXPECT_TRUE(Run("srv\n" + kRestByDefault));
    EXPECT_EQ(Setting(L"KSUrlFormat"), L"http://%server%/Zorvane/");
}

TEST_F(Questionnaire, ProposesWhatLiesBelowTheOldInstallDirectoryBelowTheNewOne) {
    GivenAPackage("/opt/zorvane/new");
    const Source installed{Source::Kind::Installed};
    m_settings->Set(L"InstallDir", L"/opt/zorvane/old", installed);
    m_settings->Set(L"LogDir", L"/opt/zorvane/old/log", installed);
    m_settings->Set(L"EventQueueDir", L"/opt/zorvane/older/queue", installed);
    m_settings->Set(L"TasksDir", L"/opt/zorvane/old/tasks", installed);
    // The last one is typed.
    EXPECT_TRUE(Run("srv\n/opt/zorvane/new\n" + std::string(11, '\n') + "/opt/zorvane/old/t\n\n"));
    EXPECT_EQ(Setting(L"LogDir"), L"/opt/zorvane/new/log");
    EXPECT_EQ(Setting(L"EventQueueDir"), L"/opt/zorvane/older/queue");
    EXPECT_EQ(Setting(L"TasksDir"), L"/opt/zorvane/old/t");
    EXPECT_NE(m_output.out.find(Asked(L"TasksDir", "/opt/zorvane/new/tasks")), std::string::npos);
}

TEST_F(Questionnaire, ANoToTheOldSettingsRestoresEveryDefaultButWhoTheHostIs) {
    const Source installed{Source::Kind::Installed};
    for (const SettingName name : std::initializer_list<SettingName>{
             L"PackagesDir", L"SWDDir", L"NICError", L"Description", L"GuidDir", L"CAInfo", L"UseDomain"}) {
        m_settings->Set(name, L"old", installed);
    }
    Setting(L"Guid") = L"{A}";
    Setting(L"KSName") = L"srv";
    EXPECT_TRUE(Run("\n\nn\n" + kRestByDefault));
    EXPECT_EQ(Setting(L"Guid"), L"{A}");
    EXPECT_EQ(Setting(L"InstallDir"), L"/opt/zorvane/kell/ksagent");
    EXPECT_EQ(Setting(L"PackagesDir"), L"%INSTDIR%/var/packages");
    EXPECT_EQ(Setting(L"SWDDir"), L"%INSTDIR%/var/swd");
    EXPECT_EQ(Setting(L"GuidDir"), L"%INSTDIR%/etc");
    EXPECT_EQ(Setting(L"CAInfo"), L"");
    EXPECT_EQ(Setting(L"UseDomain"), L"yes");
    EXPECT_EQ(Setting(L"Description"), L"");
    EXPECT_FALSE(m_settings->Exists(L"NICError"));
}

TEST_F(Questionnaire, EveryAnswerIsTheSourceOfItsSetting) {
    EXPECT_TRUE(Run("srv\n" + kRestByDefault));
    for (const Question& question : Questions()) {
        EXPECT_EQ(m_settings->Record(question.key).used.source.kind, Source::Kind::Answer)
            << String(question.key).Utf8();
    }
    const auto& logSize = m_settings->Record(L"LogSize");
    ASSERT_EQ(logSize.unused.size(), 1U);
    EXPECT_EQ(logSize.unused[0].source.kind, Source::Kind::Default);
}

TEST_F(Questionnaire, AnotherServerMeansAnotherIdentifier) {
    const struct {
        const wchar_t* old;
        const char* typed;
        bool changes;
        const wchar_t* installed = L"";
    } table[] = {
        {L"old.example", "OLD", false},
        {L"old.example", "", false},
        {L"old.example", "https://old.example:8083", false},
        {L"old.example", "new.example", true},
        {L"old.example", "old.elsewhere", true},
        {L"", "old.example", true},
        {L"", "https://OLD:8083", false, L"old.example:80"},
        {L"environment.example", "old.example", false, L"old.example"},
        {L"", "new.example", true, L"old.example"},
        {L"environment.example", "", true, L"old.example"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.typed);
        Setting(L"KSName") = row.old;
        Setting(L"InstalledKSName") = row.installed;
        Setting(L"KSNameChanged") = String();
        Setting(L"Guid") = L"{A}";
        EXPECT_TRUE(Run(std::string(row.typed) + "\n" + kRestByDefault));
        EXPECT_EQ(Setting(L"KSNameChanged"), row.changes ? L"true" : L"");
        EXPECT_EQ(Setting(L"Guid"), row.changes ? L"" : L"{A}");
    }
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
