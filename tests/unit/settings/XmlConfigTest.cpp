// The XML configuration document: which element becomes which setting, and the built-in defaults.
#include <gtest/gtest.h>
#include <string>

#include "settings/XmlConfig.h"
#include "tests/support/PrintString.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::BasicXml;
using corekit::String;

std::unique_ptr<Settings> Read(const std::string& document) {
    return ReadXmlConfig(BasicXml(String::FromUtf8(document)));
}

/// The settings of a document whose root holds this.
std::unique_ptr<Settings> ReadRoot(const std::string& content) {
    return Read("<KSAgentConfiguration>" + content + "</KSAgentConfiguration>");
}

struct Default {
    SettingName setting;
    const wchar_t* value;
};
constexpr Default kDefaults[] = {
    {L"KSName", L""},
    {L"KSProtocol", L"http"},
    {L"Guid", L""},
    {L"UseKSIPAddress", L"no"},
    {L"UseDomain", L"yes"},
    {L"EnableNICError", L"yes"},
    {L"Upgrade", L"yes"},
    {L"Start", L"yes"},
    {L"AllowNonRoot", L"yes"},
    {L"StartupOnBoot", L"yes"},
    {L"RunLevel", L"rc2;rc3;rc5"},
    {L"SSLVerifyPeer", L"no"},
    {L"SSLVerifyHost", L"no"},
    {L"CAInfo", L""},
    {L"CAPath", L""},
    {L"LogDir", L"%INSTDIR%/var"},
    {L"LogFile", L"qdn-client.log"},
    {L"LogSize", L"256"},
    {L"LogLevel", L"Error"},
    {L"SysLogLevel", L"None"},
    {L"InstallDir", L""},
    {L"BinDir", L"/usr/bin"},
    {L"TempDir", L"/tmp"},
    {L"GuidDir", L"%INSTDIR%/etc"},
    {L"GuidFile", L"host.GUID"},
    {L"EventQueueDir", L"%INSTDIR%/var/queue"},
    {L"TasksDir", L"%INSTDIR%/var/tasks"},
    {L"PackagesDir", L"%INSTDIR%/var/packages"},
    {L"SWDDir", L"%INSTDIR%/var/swd"},
};

constexpr SettingName kClientDetails[] = {
    L"SerialNumber", L"AssetTag", L"EmployeeID", L"ContactName", L"ContactPhone",
    L"ContactEmail", L"Location", L"Department", L"Description",
};

TEST(XmlConfig, TheBuiltInDocumentHoldsTheDefaults) {
    const auto settings = DefaultSettings();
    ASSERT_TRUE(settings);
    for (const Default& row : kDefaults) {
        EXPECT_TRUE(settings->Exists(row.setting)) << String(row.setting).Utf8();
        EXPECT_EQ(settings->Get(row.setting), row.value) << String(row.setting).Utf8();
    }
    for (const SettingName detail : kClientDetails)
        EXPECT_EQ(settings->Get(detail), L"") << String(detail).Utf8();
    EXPECT_EQ(settings->Get(L"KSUrlFormat"), L"http://%server%/Zorvane/");
    EXPECT_TRUE(settings->Extra().empty());
    for (const SettingName marker :
         std::initializer_list<SettingName>{L"XML", L"IsInteractive", L"KSNameChanged", L"NICError"})
        EXPECT_FALSE(settings->Exists(marker)) << String(marker).Utf8();
}

TEST(XmlConfig, WhatADocumentLacksIsPresentAndEmpty) {
    const auto settings = ReadRoot("<KSName>srv</KSName>");
    EXPECT_EQ(settings->Get(L"KSName"), L"srv");
    EXPECT_EQ(settings->Get(L"KSProtocol"), L"http");
    EXPECT_EQ(settings->Get(L"KSUrlFormat"), L"http://%server%/Zorvane/");
    for (const Default& row : kDefaults) {
        const SettingName setting = row.setting;
        if (setting == L"KSName" || setting == L"KSProtocol") continue;
        EXPECT_TRUE(settings->Exists(setting)) << String(setting).Utf8();
        EXPECT_EQ(settings->Get(setting), L"") << String(setting).Utf8();
    }
    for (const SettingName detail : kClientDetails)
        EXPECT_TRUE(settings->Exists(detail)) << String(detail).Utf8();
}

TEST(XmlConfig, ADocumentThatIsRefusedIsLikeAnEmptyOne) {
    for (const char* document : {"", "no XML", "<KSAgentConfiguration><KSName>srv</KSName>"}) {
        SCOPED_TRACE(document);
        const auto settings = Read(document);
        ASSERT_TRUE(settings);
        EXPECT_EQ(settings->Get(L"KSName"), L"");
        EXPECT_EQ(settings->Get(L"KSUrlFormat"), L"");
        EXPECT_TRUE(settings->Extra().empty());
    }
}

TEST(XmlConfig, EveryItemBecomesTheSettingOfItsName) {
    const auto settings = ReadRoot(
        "<KSName>srv</KSName><KSProtocol>HTTPS</KSProtocol><Guid>{A}</Guid>"
        "<Settings UseKSIPAddress='a1' UseDomain='a2' EnableNICError='a3' Upgrade='no' Start='a5'"
        " AllowNonRoot='a6' StartupOnBoot='a7' RunLevel='a8'>"
        "<CurlSSL SSLVerifyPeer='b1' SSLVerifyHost='b2' CAInfo='b3' CAPath='b4'/>"
        "<EventLog LogDir='c1' LogFile='c2' LogSize='c3' LogLevel='c4' SysLogLevel='c5'/>"
        "<InstallDir>d1</InstallDir><BinDir>d2</BinDir><TempDir>d3</TempDir><GuidDir>d4</GuidDir>"
        "<GuidFile>d5</GuidFile><EventQueueDir>d6</EventQueueDir><TasksDir>d7</TasksDir>"
        "<PackagesDir>d8</PackagesDir><SWDDir>d9</SWDDir></Settings>"
        "<SerialNumber>e1</SerialNumber><AssetTag>e2</AssetTag><EmployeeID>e3</EmployeeID>"
        "<ContactName>e4</ContactName><ContactPhone>e5</ContactPhone><ContactEmail>e6</ContactEmail>"
        "<Location>e7</Location><Department>e8</Department><Description>e9</Description>");
    const Default expected[] = {
        {L"KSProtocol", L"https"},  {L"Guid", L"{A}"},
        {L"UseKSIPAddress", L"a1"}, {L"UseDomain", L"a2"},
        {L"EnableNICError", L"a3"}, {L"Upgrade", L"no"},
        {L"Start", L"a5"},          {L"AllowNonRoot", L"a6"},
        {L"StartupOnBoot", L"a7"},  {L"RunLevel", L"a8"},
        {L"SSLVerifyPeer", L"b1"},  {L"SSLVerifyHost", L"b2"},
        {L"CAInfo", L"b3"},         {L"CAPath", L"b4"},
        {L"LogDir", L"c1"},         {L"LogFile", L"c2"},
        {L"LogSize", L"c3"},        {L"LogLevel", L"c4"},
        {L"SysLogLevel", L"c5"},    {L"InstallDir", L"d1"},
        {L"BinDir", L"d2"},         {L"TempDir", L"d3"},
        {L"GuidDir", L"d4"},        {L"GuidFile", L"d5"},
        {L"EventQueueDir", L"d6"},  {L"TasksDir", L"d7"},
        {L"PackagesDir", L"d8"},    {L"SWDDir", L"d9"},
        {L"SerialNumber", L"e1"},   {L"AssetTag", L"e2"},
        {L"EmployeeID", L"e3"},     {L"ContactName", L"e4"},
        {L"ContactPhone", L"e5"},   {L"ContactEmail", L"e6"},
        {L"Location", L"e7"},       {L"Department", L"e8"},
        {L"Description", L"e9"},    {L"KSUrlFormat", L"https://%server%/Zorvane/"},
    };
    for (const Default& row : expected)
        EXPECT_EQ(settings->Get(row.setting), row.value) << String(row.setting).Utf8();
}

TEST(XmlConfig, ADocumentWithoutAServerGivesNeitherAProtocolNorAUrlFormat) {
    for (const char* content :
         {"", "<KSProtocol>https</KSProtocol>", "<KSName> </KSName><KSPort>8080</KSPort>",
          "<KSPort>8080</KSPort><Settings UseKSIPAddress='no' KSIPAddress='10.0.0.5'/>",
          "<KSName>srv</KSName><KSPort>80</KSPort><Settings UseKSIPAddress='yes' KSIPAddress=''/>"}) {
        SCOPED_TRACE(content);
        const auto settings = ReadRoot(content);
        for (const SettingName name :
             std::initializer_list<SettingName>{L"KSName", L"KSProtocol", L"KSUrlFormat"}) {
            EXPECT_EQ(settings->Get(name), L"");
            EXPECT_TRUE(settings->Exists(name));
        }
    }
}

TEST(XmlConfig, AServerThatIsAUrlWinsOverThePortAndTheProtocol) {
    const struct {
        const char* content;
        const wchar_t* name;
        const wchar_t* format;
    } table[] = {
        {"<KSName>https://srv</KSName>", L"srv", L"https://%server%/Zorvane/"},
        {"<KSName>https://srv:8443/x</KSName><KSPort>80</KSPort><KSProtocol>http</KSProtocol>", L"srv:8443",
         L"https://%server%/Zorvane/"},
        {"<KSName>http://srv:80</KSName><KSProtocol>https</KSProtocol>", L"srv", L"http://%server%/Zorvane/"},
        {"<KSName>ftp://srv</KSName><KSPort>1</KSPort>", L"ftp://srv:1", L"http://%server%/Zorvane/"},
        {"<KSPort>77</KSPort><Settings UseKSIPAddress='yes' KSIPAddress=' 10.0.0.5 '/>", L"10.0.0.5:77",
         L"http://%server%/Zorvane/"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.content);
        EXPECT_EQ(ReadRoot(row.content)->Get(L"KSName"), row.name);
        EXPECT_EQ(ReadRoot(row.content)->Get(L"KSUrlFormat"), row.format);
    }
}

TEST(XmlConfig, EveryWordForYesIsYes) {
    for (const char* word : {"yes", "YES", " y", "true", "On", "1"}) {
        SCOPED_TRACE(word);
        const auto settings =
            ReadRoot("<Settings Start='" + std::string(word) + "' StartupOnBoot='" + word + "'/>");
        EXPECT_TRUE(settings->IsYes(L"Start"));
        EXPECT_TRUE(settings->IsYes(L"StartupOnBoot"));
        EXPECT_EQ(settings->Record(L"Start").used.given, String::FromUtf8(word));
    }
    EXPECT_EQ(ReadRoot("<Settings Start='maybe'/>")->Get(L"Start"), L"maybe");
}

TEST(XmlConfig, EveryWordForNoIsNo) {
    for (const char* word : {"no", "NO", " n", "False", "off", "0"}) {
        SCOPED_TRACE(word);
        const auto settings =
            ReadRoot("<Settings AllowNonRoot='" + std::string(word) + "' UseKSIPAddress='" + word + "'/>");
        EXPECT_EQ(settings->Get(L"AllowNonRoot"), L"no");
        EXPECT_EQ(settings->Record(L"AllowNonRoot").used.given, String::FromUtf8(word));
        EXPECT_EQ(settings->Get(L"UseKSIPAddress"), String::FromUtf8(word));
    }
}

TEST(XmlConfig, AnUpgradeThatIsNeitherYesNorNoIsYes) {
    for (const char* word : {"yes", "Yes", "NO", "0", "maybe"})
        EXPECT_EQ(ReadRoot("<Settings Upgrade='" + std::string(word) + "'/>")->Get(L"Upgrade"), L"yes")
            << word;
    EXPECT_EQ(ReadRoot("<Settings Upgrade='no'/>")->Get(L"Upgrade"), L"no");
    EXPECT_EQ(ReadRoot("<Settings Upgrade=''/>")->Get(L"Upgrade"), L"");
}

TEST(XmlConfig, EachValueHasItsPlaceInTheFile) {
    const auto settings = ReadXmlConfig(BasicXml(L"<KSAgentConfiguration>\n"
                                                 L" <KSName>srv</KSName><KSPort>1</KSPort><Guid>ab</Guid>\n"
                                                 L" <Settings Start='no'\n"
                                                 L"   RunLevel='rc3'><EventLog LogSize='1'/></Settings>\n"
                                                 L"</KSAgentConfiguration>"),
                                        L"/tmp/x.xml");
    const struct {
        SettingName setting;
        const wchar_t* given;
        unsigned long line;
        unsigned long column;
    } table[] = {
        {L"KSName", L"srv", 2, 2},   {L"KSUrlFormat", L"http://%server%/Zorvane/", 2, 2},
        {L"Guid", L"ab", 2, 40},     {L"Start", L"no", 3, 12},
        {L"RunLevel", L"rc3", 4, 4}, {L"LogSize", L"1", 4, 29},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(String(row.setting).Utf8());
        const SourcedValue& used = settings->Record(row.setting).used;
        EXPECT_EQ(used.given, row.given);
        EXPECT_EQ(used.source, (Source{Source::Kind::Xml, L"/tmp/x.xml", row.line, row.column}));
    }
    EXPECT_EQ(DefaultSettings()->Record(L"LogSize").used.source.kind, Source::Kind::Default);
}

TEST(XmlConfig, TheTextOfAnElementIsTrimmed) {
    const auto settings = ReadRoot(
        "<KSName>\n  srv\t</KSName><KSPort> 8080\n</KSPort>"
        "<Guid>\n ab \n</Guid><TempDir>\r\n /var/tmp \r\n</TempDir>");
    EXPECT_EQ(settings->Get(L"KSName"), L"srv:8080");
    EXPECT_EQ(settings->Get(L"Guid"), L"{AB}");
    EXPECT_EQ(settings->Get(L"TempDir"), L"/var/tmp");
}

TEST(XmlConfig, TheServerIsNamedByNameOrAddressWithItsPort) {
    const struct {
        const char* content;
        const wchar_t* server;
    } table[] = {
        {"<KSName>srv</KSName><KSPort>8080</KSPort>", L"srv:8080"},
        {"<KSName>srv</KSName><KSPort></KSPort>", L"srv"},
        {"<KSName>srv</KSName><KSPort>  </KSPort>", L"srv"},
        {"<KSName>srv</KSName><KSPort>8080</KSPort><Settings UseKSIPAddress='yes' KSIPAddress='10.0.0.5'/>",
         L"10.0.0.5:8080"},
        {"<KSName>srv</KSName><Settings UseKSIPAddress='yes' KSIPAddress='10.0.0.5'/>", L"10.0.0.5"},
        {"<KSName>srv</KSName><Settings UseKSIPAddress='YES' KSIPAddress='10.0.0.5'/>", L"srv"},
        {"<KSName>srv</KSName><Settings UseKSIPAddress='no' KSIPAddress='10.0.0.5'/>", L"srv"},
        {"<KSName>srv</KSName><Settings KSIPAddress='10.0.0.5'/>", L"srv"},
        {"<KSName>srv</KSName><Settings UseKSIPAddress='yes'/>", L"srv"},
        {"<KSName>srv</KSName><Settings UseKSIPAddress='yes' KSIPAddress=''/>", L""},
    };
    for (const auto& row : table) EXPECT_EQ(ReadRoot(row.content)->Get(L"KSName"), row.server) << row.content;
}

TEST(XmlConfig, TheIdentifierIsInUpperCaseAndInBraces) {
    const struct {
        const char* guid;
        const wchar_t* normalised;
    } table[] = {
        {"ab-12", L"{AB-12}"}, {"{ab}", L"{AB}"}, {"{abc}", L"{ABC}"},
        {"{ab", L"{AB"},       {"", L""},         {"  ", L""},
    };
    for (const auto& row : table) {
        EXPECT_EQ(ReadRoot("<Guid>" + std::string(row.guid) + "</Guid>")->Get(L"Guid"), row.normalised)
            << row.guid;
    }
}

TEST(XmlConfig, ElementsAreFoundWhereverTheyStand) {
    const auto settings = ReadRoot(
        "<Settings><KSName>srv</KSName><Deeper><EventLog LogFile='x.log'/></Deeper></Settings>"
        "<TempDir>/t</TempDir>");
    EXPECT_EQ(settings->Get(L"KSName"), L"srv");
    EXPECT_EQ(settings->Get(L"LogFile"), L"x.log");
    EXPECT_EQ(settings->Get(L"TempDir"), L"/t");
}

TEST(XmlConfig, ReferencesAndCharacterDataAreResolved) {
    const auto settings = ReadRoot(
        "<Department>R&amp;D</Department><Location><![CDATA[<Köln>]]></Location>"
        "<Settings RunLevel='rc2&#59;rc3'/>");
    EXPECT_EQ(settings->Get(L"Department"), L"R&D");
    EXPECT_EQ(settings->Get(L"Location"), L"<K\u00f6ln>");
    EXPECT_EQ(settings->Get(L"RunLevel"), L"rc2;rc3");
}

TEST(XmlConfig, AnAttributeInTheWrongElementCountsForTheElementsAfterIt) {
    const auto settings = ReadRoot("<Settings LogFile='early' Start='no'/><EventLog Start='late'/>");
    EXPECT_EQ(settings->Get(L"LogFile"), L"early");
    EXPECT_EQ(settings->Get(L"Start"), L"no");
}

TEST(XmlConfig, OneElementIsReadIntoOneSetting) {
    const BasicXml document(
        L"<KSAgentConfiguration><KSName>srv</KSName><KSPort>8080</KSPort><BinDir> /bin </BinDir>"
        L"</KSAgentConfiguration>");
    Settings settings;
    settings.Value(L"TempDir") = L"/old";
    for (const SettingName name : std::initializer_list<SettingName>{L"KSName", L"BinDir", L"TempDir"})
        ReadElementSetting(settings, document, name);
    EXPECT_EQ(settings.Get(L"KSName"), L"srv:8080");
    EXPECT_EQ(settings.Get(L"BinDir"), L"/bin");
    EXPECT_EQ(settings.Get(L"TempDir"), L"");
    EXPECT_FALSE(settings.Exists(L"KSProtocol"));
}

using Triple = std::vector<String>;
std::vector<Triple> Extras(const Settings& settings) {
    std::vector<Triple> extras;
    for (const ExtraSetting& extra : settings.Extra())
        extras.push_back({extra.Section, extra.Name, extra.Value});
    return extras;
}

TEST(XmlConfig, ExtraSettingsComeInDocumentOrder) {
    const auto settings = ReadRoot(
        "<ExtraConfigSettings><Setting Section='Tickle' Name='enabled' Value='no'/>"
        "<Setting Section='A B' Name='n' Value=''/><Setting Section='Tickle' Name='enabled' Value='yes'/>"
        "</ExtraConfigSettings>");
    EXPECT_EQ(Extras(*settings),
              (std::vector<Triple>{
                  {L"Tickle", L"enabled", L"no"}, {L"A B", L"n", L""}, {L"Tickle", L"enabled", L"yes"}}));
}

TEST(XmlConfig, AnExtraSettingInheritsTheAttributesThatItLacks) {
    const auto settings = ReadRoot(
        "<ExtraConfigSettings><Setting Section='S' Name='a' Value='1'/><Setting Name='b' Value='2'/>"
        "<Setting Section='T'/></ExtraConfigSettings>");
    EXPECT_EQ(Extras(*settings),
              (std::vector<Triple>{{L"S", L"a", L"1"}, {L"S", L"b", L"2"}, {L"T", L"b", L"2"}}));
}

TEST(XmlConfig, TheFirstExtraSettingHasNothingToInherit) {
    const auto settings =
        ReadRoot("<ExtraConfigSettings><Setting Name='a' Value='1'/></ExtraConfigSettings>");
    EXPECT_EQ(Extras(*settings), (std::vector<Triple>{{L"", L"a", L"1"}}));
}

TEST(XmlConfig, OnlySettingElementsWithinTheirElementAreExtraSettings) {
    EXPECT_TRUE(ReadRoot("<Setting Section='S' Name='a' Value='1'/>")->Extra().empty());
    EXPECT_TRUE(ReadRoot("<ExtraConfigSettings/>")->Extra().empty());
    const auto settings = ReadRoot(
        "<ExtraConfigSettings><Other Section='S' Name='a' Value='1'/></ExtraConfigSettings>"
        "<Setting Section='S' Name='b' Value='2'/>");
    EXPECT_TRUE(settings->Extra().empty());
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
