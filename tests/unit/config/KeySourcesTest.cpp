// Where each key of a new client.conf is from: the keys of the package's template, and all that an upgrade
// carries.
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>

#include "config/ClientConf.h"
#include "config/ClientConfDraft.h"
#include "corekit/ini/IniFile.h"
#include "settings/ClientConfKeyMap.h"
#include "settings/XmlConfig.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;

constexpr const char* kProto = "/opt/agent/etc/client.proto";
constexpr const char* kOutput = "/opt/client.conf";
constexpr const char* kOld = "/opt/old/etc/client.conf";

/// The keys that settings feed by a rule of their own; the key table has the others.
constexpr struct {
    ConfKey key;
    SettingName setting;
} kFed[] = {
    {Key::kServer, L"KSName"},           {Key::kInstallDir, L"InstallDir"},
    {Key::kGuidFile, L"GuidDir"},        {Key::kDebugOutput, L"LogDir"},
    {Key::kDebugFileSize, L"LogSize"},   {Key::kDebugLevel, L"LogLevel"},
    {Key::kSyslogLevel, L"SysLogLevel"}, {Key::kUrlFormat, L"KSUrlFormat"},
    {Key::kStartLevels, L"RunLevel"},    {Key::kStopLevels, L"RunLevel"},
    {Key::kNicError, L"EnableNICError"},
};

Source FromSetting(SettingName setting) {
    return {Source::Kind::Setting, setting};
}

std::string Told(const Source& source) {
    return std::to_string(static_cast<int>(source.kind)) + " " + source.name.Utf8() + ":" +
           std::to_string(source.line) + ":" + std::to_string(source.column);
}

class KeySourcesOfClientConf : public testing::Test {
  protected:
    KeySourcesOfClientConf() {
        std::filesystem::create_directories("/opt/agent/etc");
        std::filesystem::copy(CLIENT_PROTO, kProto);
        m_settings->Value(L"InstallDir") = L"/opt/agent";
        m_settings->Set(L"KSName", L"srv.example", {Source::Kind::Environment, L"QDN_INSTALL_KSNAME"});
        m_settings->Set(L"KSUrlFormat", L"http://%server%/Zorvane/", {Source::Kind::Program});
    }
    ~KeySourcesOfClientConf() override {
        for (const char* path : {"/opt/agent", "/opt/old", kOutput}) std::filesystem::remove_all(path);
    }

    void Write(const InstalledConfiguration* installed) {
        ASSERT_TRUE(WriteClientConf(String::FromUtf8(kOutput), *m_settings, installed));
        m_sources = m_settings->Keys();
        m_sources.merge(SourcesOfTemplate(IniFile(String::FromUtf8(kProto))));
    }

    std::string ToldOf(const ConfKey& key) const {
        const auto found = m_sources.find({key.section, key.key});
        return found == m_sources.end() ? "(none)" : Told(found->second);
    }

    /// Every key of the file has a source, and nothing else has.
    void ExpectASourceOfEachKey() const {
        std::size_t count = 0;
        for (const auto& entry : IniFile(String::FromUtf8(kOutput)).AllEntries()) {
            ++count;
            EXPECT_TRUE(m_sources.contains({entry.section, entry.key})) << entry.key.Utf8();
        }
        EXPECT_EQ(count, m_sources.size());
    }

    std::shared_ptr<Settings> m_settings = DefaultSettings();
    KeySources m_sources;
};

std::vector<std::string> LinesOf(const char* path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

TEST_F(KeySourcesOfClientConf, NameTheSettingOfAKeyOrItsLineOfTheTemplate) {
    std::map<ConfKey, SettingName> fed;
    for (const auto& row : kFed) fed.emplace(row.key, row.setting);
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        if (!row.setting.IsNone()) fed.emplace(row.newKey, row.setting);
    }
    Write(nullptr);
    ExpectASourceOfEachKey();
    for (const auto& [key, setting] : fed)
        EXPECT_EQ(ToldOf(key), Told(FromSetting(setting))) << String(key.key).Utf8();

    const auto lines = LinesOf(kProto);
    std::size_t templates = 0;
    for (const auto& [name, source] : m_sources) {
        if (source.kind != Source::Kind::Template) continue;
        ++templates;
        EXPECT_EQ(source.name.Utf8(), kProto);
        ASSERT_TRUE(source.line >= 1 && source.line <= lines.size()) << name.second.Utf8();
        EXPECT_TRUE(lines[source.line - 1].starts_with(name.second.Utf8() + "=")) << lines[source.line - 1];
    }
    EXPECT_EQ(templates + fed.size(), m_sources.size());
    EXPECT_GT(templates, 80U);
}

TEST_F(KeySourcesOfClientConf, NameThePlaceOfAnExtraSetting) {
    const Source source{Source::Kind::Xml, L"/tmp/a.xml", 7, 3};
    m_settings->AddExtra({L"SWD", L"swd_lowpriority", L"19", source});
    m_settings->AddExtra({L"New", L"key", L"1", source});
    Write(nullptr);
    EXPECT_EQ(ToldOf(ConfKey(L"SWD/swd_lowpriority")), Told(source));
    EXPECT_EQ(ToldOf(ConfKey(L"New/key")), Told(source));
}

TEST_F(KeySourcesOfClientConf, NameTheOldLineOfEveryRow_OnAnUpgrade) {
    std::string text = "# an old file\n[Configuration]\ninstalldir=/opt/old\n";
    std::map<ConfKey, Source> expected;
    std::map<std::wstring_view, Source> ofSettings;
    unsigned long line = 3;
    for (const ClientConfKey& row : ClientConfKeyMap()) {
        text += "[" + String(row.oldKey.section).Utf8() + "]\n" + String(row.oldKey.key).Utf8() + " = " +
                (row.isPath ? "/opt/old/x" : "1") + "\n";
        line += 2;
        const Source old{Source::Kind::Installed, String::FromUtf8(kOld), line};
        expected[row.newKey] = row.setting.IsNone() ? old : FromSetting(row.setting);
        if (!row.setting.IsNone()) ofSettings[row.setting.View()] = old;
    }
    for (const auto& row : kFed) expected[row.key] = FromSetting(row.setting);
    testfiles::Write(kOld, text);
    const InstalledConfiguration installed{L"6.0", String::FromUtf8(kOld), true};
    Write(&installed);
    ExpectASourceOfEachKey();
    for (const auto& [key, source] : expected) EXPECT_EQ(ToldOf(key), Told(source)) << String(key.key).Utf8();
    for (const auto& [name, record] : m_settings->Records()) {
        const auto found = ofSettings.find(name.View());
        if (found != ofSettings.end()) {
            EXPECT_EQ(Told(record.used.source), Told(found->second)) << String(name).Utf8();
        }
    }
    EXPECT_EQ(ofSettings.size(), 20U);
}

TEST_F(KeySourcesOfClientConf, NameTheOldLinesOfSubAgents) {
    testfiles::Write(kOld,
                     "[Class Servers]\na.server=A Server\n[A Server]\nprogram=/a\n[Static Agents]\n\nb=no\n"
                     "[Configuration]\nagent_roles=web\nsub_agent_names=a\n");
    const InstalledConfiguration installed{L"6.0", String::FromUtf8(kOld), true};
    Write(&installed);
    const auto old = [](unsigned long line) {
        return Told({Source::Kind::Installed, String::FromUtf8(kOld), line});
    };
    EXPECT_EQ(ToldOf(ConfKey(L"Class Servers/a.server")), old(2));
    EXPECT_EQ(ToldOf(ConfKey(L"A Server/program")), old(4));
    EXPECT_EQ(ToldOf(ConfKey(L"Static Agents/b")), old(7));
    EXPECT_EQ(ToldOf(Key::kAgentRoles), old(9));
    EXPECT_EQ(ToldOf(Key::kSubAgentNames), old(10));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
