// The check of an XML configuration document: what is told of names, places and values, and in which order.
#include <gtest/gtest.h>
#include <string>

#include "settings/XmlConfig.h"
#include "tests/support/Captured.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testsupport::Captured;

/// What is told of a document in /x.xml.
std::string Told(const std::string& document) {
    const auto output =
        Captured([&] { WarnOfXmlMistakes(corekit::BasicXml(std::string(document)), L"/x.xml"); });
    EXPECT_EQ(output.out, "");
    return output.err;
}

/// The same of what stands in the root, which ends in column 22 of the first line.
std::string ToldInRoot(const std::string& content) {
    return Told("<KSAgentConfiguration>" + content + "</KSAgentConfiguration>");
}

std::string Warning(const std::string& place, const std::string& what) {
    return "WARNING! /x.xml:" + place + ": " + what + ".\n";
}

TEST(XmlCheck, IsSilent_ForAGoodDocument) {
    EXPECT_EQ(
        Told(
            "<?xml version='1.0'?>\n"
            "<KSAgentConfiguration xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'"
            " xsi:noNamespaceSchemaLocation='x.xsd' xsi:schemaLocation='a b'>\n"
            "<KSName> kell.example.com </KSName><KSPort>8080</KSPort><KSProtocol>HTTPS</KSProtocol>"
            "<Guid/><Settings UseKSIPAddress='no' KSIPAddress='[::1]' Upgrade='no' Start='TRUE'"
            " AllowNonRoot='off' RunLevel='2 3'><CurlSSL SSLVerifyPeer='1' CAInfo=''/>"
            "<EventLog LogSize='0' LogLevel='DEBUG' SysLogLevel='none'/><InstallDir>/a</InstallDir></Settings>"
            "<Location>here</Location><ExtraConfigSettings><Setting Section='a' Name='b' Value='c'/>"
            "<Setting Name='d' Value='e'/></ExtraConfigSettings></KSAgentConfiguration>"),
        "");
    for (const std::string upgrade : {"", "yes"})
        EXPECT_EQ(ToldInRoot("<Settings Upgrade='" + upgrade + "'/>"), "");
}

TEST(XmlCheck, WarnsOfUnknownNamesAndSuggestsTheNearest) {
    EXPECT_EQ(ToldInRoot("<Settings><EventLog LogLevl='x'/></Settings>"),
              Warning("1:43", "unknown attribute LogLevl (LogLevel?)"));
    EXPECT_EQ(ToldInRoot("<KSname>x</KSname>"), Warning("1:23", "unknown element KSname (KSName?)"));
    EXPECT_EQ(ToldInRoot("<Frobnicate/>"), Warning("1:23", "unknown element Frobnicate"));
    EXPECT_EQ(ToldInRoot("<Gid/>"), Warning("1:23", "unknown element Gid (Guid?)"));
    EXPECT_EQ(ToldInRoot("<Settings><BDir/></Settings>"), Warning("1:33", "unknown element BDir (BinDir?)"))
        << "SWDDir is as near, and later";
    EXPECT_EQ(ToldInRoot("<Gix/>"), Warning("1:23", "unknown element Gix"));
    const std::string longName(41, 'x');
    EXPECT_EQ(ToldInRoot("<" + longName + "/>"), Warning("1:23", "unknown element " + longName));
    EXPECT_EQ(ToldInRoot("<Settings Colour='x'/>"), Warning("1:33", "unknown attribute Colour"));
    EXPECT_EQ(Told("<KSAgentConfig/>").substr(0, 52),
              "WARNING! /x.xml:1:1: unknown element KSAgentConfig.\n");
}

TEST(XmlCheck, WarnsOfWhatStandsInAWrongPlaceOrTwice) {
    EXPECT_EQ(ToldInRoot("<InstallDir>/a</InstallDir>"), Warning("1:23", "InstallDir belongs in Settings"));
    EXPECT_EQ(ToldInRoot("<Settings LogSize='1'/>"),
              Warning("1:33", "attribute LogSize belongs in EventLog"));
    EXPECT_EQ(ToldInRoot("<KSName>a</KSName><KSName>b</KSName>"),
              Warning("1:41", "KSName stands there twice: the first one counts"));
    EXPECT_EQ(Told("<Settings/>"), Warning("1:1", "Settings belongs in KSAgentConfiguration"));
    EXPECT_EQ(ToldInRoot("<KSAgentConfiguration/>"),
              Warning("1:23", "KSAgentConfiguration belongs around all others") +
                  Warning("1:23", "KSAgentConfiguration stands there twice: the first one counts"));
    EXPECT_EQ(ToldInRoot("<Frobnicate><Settings/></Frobnicate>"),
              Warning("1:23", "unknown element Frobnicate"));
    EXPECT_EQ(ToldInRoot("<EventLog><InstallDir>/a</InstallDir></EventLog>"),
              Warning("1:23", "EventLog belongs in Settings"))
        << "what is in it has come along";
    EXPECT_EQ(ToldInRoot("text<Settings/>"),
              Warning("1:1", "KSAgentConfiguration \"text\": no text can stand there"));
}

TEST(XmlCheck, WarnsOfAValueThatItsSettingCannotHave) {
    const struct {
        const char* content;
        const char* told;
    } table[] = {
        {"<Settings Start='maybe'/>", "1:33: Start \"maybe\": yes or no"},
        {"<Settings UseKSIPAddress='YES'/>", "1:33: UseKSIPAddress \"YES\": yes or no, in lower case"},
        {"<Settings RunLevel='rc7'/>", "1:33: RunLevel \"rc7\": run levels from 0 to 6, such as rc2;rc3;rc5"},
        {"<Settings RunLevel='none'/>",
         "1:33: RunLevel \"none\": run levels from 0 to 6, such as rc2;rc3;rc5"},
        {"<KSName>two words</KSName>",
         "1:23: KSName \"two words\": the name or address of a host, with or without a port, or an http or https URL"},
        {"<KSName>ftp://srv</KSName>",
         "1:23: KSName \"ftp://srv\": the name or address of a host, with or without a port, or an http or https URL"},
        {"<KSName>srv/path</KSName>",
         "1:23: KSName \"srv/path\": the name or address of a host, with or without a port, or an http or https URL"},
        {"<KSName>a</KSName><KSPort>0</KSPort>", "1:41: KSPort \"0\": a number from 1 to 65535"},
        {"<KSName>a</KSName><KSPort>65536</KSPort>", "1:41: KSPort \"65536\": a number from 1 to 65535"},
        {"<KSProtocol>ftp</KSProtocol>", "1:23: KSProtocol \"ftp\": http or https"},
        {"<Settings><EventLog LogSize='-1'/></Settings>", "1:43: LogSize \"-1\": a number of kilobytes"},
        {"<Settings><EventLog LogSize='1MB'/></Settings>", "1:43: LogSize \"1MB\": a number of kilobytes"},
        {"<Settings><EventLog LogLevel='loud'/></Settings>",
         "1:43: LogLevel \"loud\": Error, Warning, Info, Debug, DbgVerbose or DevNote"},
        {"<Settings><EventLog SysLogLevel='debug'/></Settings>",
         "1:43: SysLogLevel \"debug\": None, Error, Warning or Info"},
    };
    for (const auto& row : table)
        EXPECT_EQ(ToldInRoot(row.content), "WARNING! /x.xml:" + std::string(row.told) + ".\n");
}

TEST(XmlCheck, WarnsOfAPortOrAProtocolThatDoesNotFitTheServer) {
    EXPECT_EQ(ToldInRoot("<KSPort>8080</KSPort>"),
              Warning("1:23", "KSPort \"8080\": only together with KSName or KSIPAddress"));
    EXPECT_EQ(ToldInRoot("<KSPort>1</KSPort><Settings UseKSIPAddress='yes' KSIPAddress='10.0.0.5'/>"), "");
    EXPECT_EQ(ToldInRoot("<KSName>a</KSName><KSPort>1</KSPort><Settings UseKSIPAddress='yes'/>"), "");
    EXPECT_EQ(ToldInRoot("<KSName>https://a</KSName><KSPort>8080</KSPort><KSProtocol>http</KSProtocol>"),
              Warning("1:49", "KSPort \"8080\": the URL of the server has port 443") +
                  Warning("1:70", "KSProtocol \"http\": the URL of the server has https"));
    EXPECT_EQ(ToldInRoot("<KSName>https://a</KSName><KSPort>443</KSPort><KSProtocol>HTTPS</KSProtocol>"), "");
    EXPECT_EQ(ToldInRoot("<KSName>a:80</KSName><KSPort>8080</KSPort>"),
              Warning("1:44", "KSPort \"8080\": the name of the server has port 80"));
    EXPECT_EQ(ToldInRoot("<KSName>[::1]</KSName><KSPort>8080</KSPort>"), "");
}

TEST(XmlCheck, WarnsOfAnUpgradeThatIsNeitherYesNorNo) {
    for (const std::string word : {"Yes", "YES", "0", " yes"}) {
        EXPECT_EQ(ToldInRoot("<Settings Upgrade='" + word + "'/>"),
                  "WARNING! Upgrade is neither \"yes\" nor \"no\": " + word + ". It counts as \"yes\".\n");
    }
}

TEST(XmlCheck, WarnsInTheOrderOfTheDocument) {
    EXPECT_EQ(Told("<KSAgentConfiguration>\n"
                   "  <Settings Strat='yes'\n"
                   "            Upgrade='Yes' AllowNonRoot='perhaps'>\n"
                   "    <EventLog LogLevel='x' LogSize='y'/>\n"
                   "  </Settings>\n"
                   "  <KSNam>a</KSNam>\n"
                   "</KSAgentConfiguration>\n"),
              Warning("2:13", "unknown attribute Strat (Start?)") +
                  "WARNING! Upgrade is neither \"yes\" nor \"no\": Yes. It counts as \"yes\".\n" +
                  Warning("3:27", "AllowNonRoot \"perhaps\": yes or no") +
                  Warning("4:15", "LogLevel \"x\": Error, Warning, Info, Debug, DbgVerbose or DevNote") +
                  Warning("4:28", "LogSize \"y\": a number of kilobytes") +
                  Warning("6:3", "unknown element KSNam (KSName?)"));
}

TEST(XmlCheck, NothingOfTheDocumentSteersTheTerminal) {
    EXPECT_EQ(ToldInRoot("<Settings Start='&#x9b;31m'/>"), Warning("1:33", "Start \"\\x9b31m\": yes or no"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
