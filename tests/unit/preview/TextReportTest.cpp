// How a preview looks to people.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "corekit/json/Json.h"
#include "preview/TextReport.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

constexpr const char* kDocument = R"({
  "format": "qdn-configure/preview/1", "version": "1.1.0", "command": ["-configure"], "possible": true, "status": 0,
  "error": null, "refused": "The agent is running.", "changed": true, "output": "Banner.\nDone.\n", "warnings": [],
  "settings": [
    {"name": "KSName", "value": "kell.example", "source": {"kind": "environment", "variable": "QDN_INSTALL_KSNAME"}, "unused": []},
    {"name": "Guid", "value": "", "source": {"kind": "default"}, "unused": []},
    {"name": "LogFile", "value": "a.log", "source": {"kind": "default"}, "unused": []},
    {"name": "Start", "value": "yes", "source": {"kind": "default"}, "unused": []},
    {"name": "LogSize", "value": "512", "source": {"kind": "xml", "file": "/tmp/a.xml", "line": 4, "column": 13},
     "unused": [{"value": "256", "source": {"kind": "default"}}, {"value": "1", "source": {"kind": "environment", "variable": "X"}}]}],
  "client_conf": {"path": "/opt/a/etc/client.conf", "keys": [
    {"section": "Kell Servers", "key": "server-1", "value": "kell.example", "source": {"kind": "setting", "setting": "KSName"}},
    {"section": "Tickle", "key": "enabled", "value": "no", "source": {"kind": "installed", "file": "/opt/old.conf", "line": 7}},
    {"section": "Tickle", "key": "sleep", "value": "9", "usual": true, "source": {"kind": "installed", "file": "/opt/old.conf", "line": 9}},
    {"section": "Tickle", "key": "empty", "value": "", "usual": true, "source": {"kind": "installed", "file": "/opt/old.conf", "line": 8}},
    {"section": "SWD", "key": "x", "value": "1", "source": {"kind": "xml", "file": "/tmp/a.xml", "line": 9, "column": 3}},
    {"section": "SWD", "key": "y", "value": "2", "source": {"kind": "template", "file": "/opt/a/etc/client.proto", "line": 3}}]},
  "changes": [
    {"path": "/a", "action": "create", "type": "link", "before": null,
     "after": {"mode": "0777", "uid": 0, "gid": 0, "size": null, "sha256": null, "target": "b"}, "diff": null},
    {"path": "/c", "action": "change", "type": "file",
     "before": {"mode": "0644", "uid": 0, "gid": 0, "size": 1, "sha256": null, "target": null},
     "after": {"mode": "4750", "uid": 1, "gid": 2, "size": 1, "sha256": null, "target": null}, "diff": null},
    {"path": "/d", "action": "move", "to": "/e", "type": "directory", "entries": 3,
     "before": {"mode": "0755", "uid": 0, "gid": 0, "size": null, "sha256": null, "target": null},
     "after": {"mode": "0755", "uid": 0, "gid": 0, "size": null, "sha256": null, "target": null}, "diff": null},
    {"path": "/f", "action": "replace", "type": "file",
     "before": {"mode": "0644", "uid": 0, "gid": 0, "size": 1, "sha256": null, "target": null},
     "after": {"mode": "0644", "uid": 0, "gid": 0, "size": 1, "sha256": null, "target": null},
     "diff": "--- /f\n+++ /f\n@@ -1 +1 @@\n-a\n+\u001bb\n"}],
  "agent": {"stop": false, "start": true}
})";

std::string Report(Colours colours, Output output) {
    return TextReport(corekit::ParseJson(kDocument), colours, output).Utf8();
}

TEST(TextReport, HasSettingsChangesDifferencesOutputAndAClosingLine) {
    EXPECT_EQ(Report(Colours::None, Output::Shown), R"(
Settings
  KSName   kell.example  variable QDN_INSTALL_KSNAME
  LogSize  512           a.xml:4 (default: 256)
           not used: 1 (variable X)
  by default: LogFile a.log, Start yes

Keys of client.conf
  [Tickle] enabled  no  old.conf:7
  [SWD] x           1   a.xml:9
  and 1 from the settings, 3 as in the package's template

Sources
  a.xml     /tmp/a.xml
  old.conf  /opt/old.conf

Changes
  create   lrwxrwxrwx 0:0  /a -> b
  change   -rwsr-x--- 1:2  /c (was -rw-r--r-- 0:0)
  move     drwxr-xr-x 0:0  /d => /e (with 3 entries)
  replace  -rw-r--r-- 0:0  /f

Differences
--- /f
+++ /f
@@ -1 +1 @@
-a
+\x1bb

Output of the command
Done.

4 changes: 1 created, 1 replaced, 1 changed, 1 moved. The agent would be started. The command would succeed (status 0).
Right now it would do nothing: The agent is running.
)");
}

/// The report of a command that has set this, and nothing else.
std::string SettingsOf(const char* settings) {
    auto document = corekit::ParseJson(kDocument);
    document["settings"] = corekit::ParseJson(settings);
    document["changes"] = corekit::Json::array();
    document["client_conf"] = nullptr;
    document["output"] = "Banner.\n";
    document["refused"] = nullptr;
    return TextReport(document, Colours::None, Output::Shown).Utf8();
}

constexpr const char* kNothing =
    "\nNothing would change. The agent would be started. The command would succeed (status 0).\n";

TEST(TextReport, IsAClosingLine_WhereThereIsNothingElseToTell) {
    EXPECT_EQ(SettingsOf("[]"), kNothing);
    EXPECT_EQ(SettingsOf(R"([{"name": "Guid", "value": "", "source": {"kind": "default"}, "unused": []}])"),
              kNothing);
}

TEST(TextReport, TellsSettingsThatHaveTheirDefaultsFromOthers) {
    const std::string byDefault =
        R"({"name": "Start", "value": "yes", "source": {"kind": "default"}, "unused": []})";
    const std::string given =
        R"({"name": "KSName", "value": "kell", "source": {"kind": "option"}, "unused": []})";
    const auto report = [](const std::string& settings) {
        return SettingsOf(("[" + settings + "]").c_str());
    };
    EXPECT_EQ(report(byDefault), std::string("\nSettings\n  by default: Start yes\n") + kNothing);
    EXPECT_EQ(report(given), std::string("\nSettings\n  KSName  kell  command line\n") + kNothing);
    EXPECT_EQ(report(given + "," + byDefault),
              std::string("\nSettings\n  KSName  kell  command line\n  by default: Start yes\n") + kNothing);
}

TEST(TextReport, ADefaultThatWonOverAnotherValueHasALineOfItsOwn) {
    EXPECT_EQ(
        SettingsOf(R"([{"name": "Start", "value": "yes", "source": {"kind": "default"},
                              "unused": [{"value": "no", "source": {"kind": "option"}}]}])"),
        std::string("\nSettings\n  Start  yes  default\n         not used: no (command line)\n") + kNothing);
}

TEST(TextReport, EndsTheLastLineOfTheOutput) {
    auto document = corekit::ParseJson(kDocument);
    for (const char* end : {"", "\n", "\n\n"}) {
        document["output"] = "Banner.\nOne.\nTwo." + std::string(end);
        const std::string report = TextReport(document, Colours::None, Output::Shown).Utf8();
        EXPECT_NE(report.find("\n\nOutput of the command\nOne.\nTwo.\n\n4 changes: "), std::string::npos)
            << report;
    }
}

TEST(TextReport, ShowsEmptyLinesOfADifferenceAsTheyAre) {
    auto document = corekit::ParseJson(kDocument);
    document["changes"][3]["diff"] = "--- /f\n+++ /f\n@@ -1,2 +1,2 @@\n\n-a\n+b\n";
    const std::string report = TextReport(document, Colours::Terminal, Output::Shown).Utf8();
    EXPECT_NE(report.find("@@ -1,2 +1,2 @@\033[0m\n\n\033[31m-a\033[0m\n"), std::string::npos) << report;
}

TEST(TextReport, CountsAChangeThatIsTheOnlyOne) {
    auto document = corekit::ParseJson(kDocument);
    document["changes"] = corekit::Json::array({document["changes"][0]});
    const std::string report = TextReport(document, Colours::None, Output::Shown).Utf8();
    EXPECT_NE(report.find("\n1 change: 1 created. The agent"), std::string::npos) << report;
}

TEST(TextReport, LeavesOutWhatHasBeenSeenAlready) {
    EXPECT_EQ(Report(Colours::None, Output::SeenAlready).find("Done."), std::string::npos);
}

TEST(TextReport, TellsFilesOfOneNameApartByTheirPaths) {
    auto document = corekit::ParseJson(kDocument);
    document["client_conf"]["keys"][4]["source"]["file"] = "/opt/a.xml";
    const std::string report = TextReport(document, Colours::None, Output::Shown).Utf8();
    EXPECT_NE(report.find(" 512           a.xml:4 "), std::string::npos) << report;
    EXPECT_NE(report.find(" /opt/a.xml:9\n"), std::string::npos) << report;
}

TEST(TextReport, BreaksLongListsAndShowsLongDifferencesWhole) {
    auto document = corekit::ParseJson(kDocument);
    document["settings"][2]["value"] = std::string(60, 'x');
    document["settings"][3]["value"] = std::string(30, 'y');
    std::string diff = "--- /f\n+++ /f\n@@ -0,0 +1,30 @@\n";
    for (int line = 1; line <= 30; ++line) diff += "+line " + std::to_string(line) + "\n";
    document["changes"][3]["diff"] = diff;
    const std::string report = TextReport(document, Colours::None, Output::Shown).Utf8();
    EXPECT_NE(report.find("  by default: LogFile " + std::string(60, 'x') + ",\n    Start yyy"),
              std::string::npos)
        << report;
    EXPECT_NE(report.find("+line 29\n+line 30\n\nOutput"), std::string::npos) << report;
}

TEST(TextReport, TellsNoFormerMode_WhereOnlyAttributesChange) {
    auto document = corekit::ParseJson(kDocument);
    document["changes"][1]["after"] = document["changes"][1]["before"];
    const std::string report = TextReport(document, Colours::None, Output::Shown).Utf8();
    EXPECT_NE(report.find("  change   -rw-r--r-- 0:0  /c\n"), std::string::npos) << report;
}

TEST(TextReport, NamesASourceWithoutALine) {
    auto document = corekit::ParseJson(kDocument);
    document["settings"][4]["source"].erase("line");
    const std::string report = TextReport(document, Colours::None, Output::Shown).Utf8();
    EXPECT_NE(report.find("  LogSize  512           a.xml (default: 256)\n"), std::string::npos) << report;
}

TEST(TextReport, IsColouredOnATerminal) {
    const std::string report = Report(Colours::Terminal, Output::Shown);
    EXPECT_NE(report.find("\033[1mChanges\033[0m\n  \033[32mcreate \033[0m  lrwxrwxrwx"), std::string::npos);
    EXPECT_NE(report.find("\033[31m-a\033[0m\n\033[32m+\\x1bb\033[0m\n"), std::string::npos);
}

TEST(TextReport, CountsEachActionAndGivesItItsColour) {
    struct Action {
        const char* name;
        const char* coloured;
        const char* counted;
    };
    for (const Action& action : {Action{"create", "\033[32mcreate \033[0m", ": 1 created."},
                                 {"replace", "\033[33mreplace\033[0m", ": 1 replaced."},
                                 {"change", "\033[33mchange \033[0m", ": 1 changed."},
                                 {"move", "\033[36mmove   \033[0m", ": 1 moved."},
                                 {"remove", "\033[31mremove \033[0m", ": 1 removed."}}) {
        auto document = corekit::ParseJson(kDocument);
        auto change = document["changes"][2];
        change["action"] = action.name;
        document["changes"] = {change};
        const std::string report = TextReport(document, Colours::Terminal, Output::Shown).Utf8();
        EXPECT_NE(report.find(action.coloured), std::string::npos) << report;
        EXPECT_NE(report.find(action.counted), std::string::npos) << report;
    }
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
