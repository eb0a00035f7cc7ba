// How the state is laid out for people, and in which words a difference is told.
#include <nlohmann/json.hpp>

#include "corekit/json/Json.h"
#include "status/Document.h"
#include "tests/support/PrintString.h"

namespace Zorvane::AgentInstaller::Status {
namespace {

using corekit::Json;
using testing::HasSubstr;

Json State(const char* type, const char* mode = "0644", unsigned uid = 0, const Json& target = nullptr) {
    return {{"mode", mode}, {"uid", uid}, {"gid", 0}, {"target", target}, {"type", type}};
}

Json Difference(const char* action, const Json& before, const Json& after, const std::string& path = "/x") {
    return {{"path", path}, {"action", action}, {"to", "/y"}, {"before", before}, {"after", after}};
}

std::string Report(const Json& differences, const Json& error = nullptr,
                   const std::string& notCompared = "") {
    Facts facts;
    facts.isInstalled = true;
    facts.directory = L"/opt/a\x1b";
    facts.version = L"6.0.350";
    const Json found = {{"differences", differences}, {"error", error}};
    Findings findings;
    if (notCompared.empty()) findings.found = &found;
    findings.notCompared = notCompared;
    return TextReport(MakeDocument(facts, findings)).Utf8();
}

TEST(StatusReport, IsOneLineForEachFact) {
    EXPECT_EQ(Report(Json::array()),
              "\n"
              "  Agent       6.0.350 in /opt/a\\x1b\n"
              "  Server      none\n"
              "  Identifier  none\n"
              "  At boot     not started\n"
              "  Process     not running\n"
              "  Differences none\n"
              "\n"
              "In order, but not running (status 3).\n");
}

TEST(StatusReport, SaysWhatIsNotKnown_WhenTheConfigurationCannotBeRead) {
    Facts facts;
    facts.isInstalled = true;
    facts.directory = L"/opt/a";
    facts.unreadable = L"Permission denied";
    Findings findings;
    findings.notCompared = "a reason";
    EXPECT_EQ(TextReport(MakeDocument(facts, findings)).Utf8(),
              "\n"
              "  Agent       unknown version in /opt/a\n"
              "              its client.conf cannot be read: Permission denied\n"
              "  Server      not known\n"
              "  Identifier  not known\n"
              "  At boot     not started\n"
              "  Process     not running\n"
              "  Differences not looked for: a reason\n"
              "\n"
              "Not running (status 3).\n");
}

TEST(StatusReport, SaysWhyItIsNotKnownHowTheAgentIsStarted) {
    Facts facts;
    facts.isInstalled = true;
    facts.boot.unreadable = L"/etc/rc5.d: Input/output error";
    const Json document = MakeDocument(facts, {});
    EXPECT_EQ(document["boot"]["unreadable"], "/etc/rc5.d: Input/output error");
    EXPECT_THAT(TextReport(document).Utf8(),
                HasSubstr("\n  At boot     not known: /etc/rc5.d: Input/output error\n"));
}

TEST(StatusReport, DescribesADifferenceFromTheHostsPointOfView) {
    const struct {
        Json difference;
        const char* words;
    } rows[] = {
        {Difference("create", nullptr, State("file")), "/x is missing"},
        {Difference("remove", State("file"), nullptr), "/x should not be there"},
        {Difference("move", State("file"), State("file")), "/x should be /y"},
        {Difference("replace", State("file"), State("file")), "/x has other contents"},
        {Difference("replace", State("directory"), State("file")), "/x is a directory, not a file"},
        {Difference("replace", State("other"), State("file")), "/x is not a file"},
        {Difference("replace", State("link", "0777", 0, "/a"), State("link", "0777", 0, "/b")),
         "/x does not lead to /b"},
        {Difference("change", State("file", "0666"), State("file")), "/x has mode 0666, not 0644"},
        {Difference("change", State("file", "0666", 7), State("file")), "/x belongs to 7:0, not to 0:0"},
        {Difference("change", State("file"), State("file")), "/x has other extended attributes"},
    };
    for (const auto& row : rows)
        EXPECT_THAT(Report(Json::array({row.difference})),
                    HasSubstr("    " + std::string(row.words) + "\n\nNot"));
}

TEST(StatusReport, FitsOnAScreen) {
    Json many = Json::array();
    for (int i = 0; i < 100; ++i)
        many.push_back(Difference("create", nullptr, State("file"), "/" + std::to_string(i)));
    const std::string report = Report(many);
    EXPECT_THAT(
        report,
        HasSubstr("  Differences 100 from what a configuration would make now:\n    /0 is missing\n"));
    EXPECT_THAT(report, HasSubstr("    and 88 more; -json lists all\n"));
    EXPECT_LE(std::ranges::count(report, '\n'), 24);
}

TEST(StatusReport, SaysWhereAndByWhatTheAgentIsStarted_AndWhetherTheServerAnswers) {
    Facts facts;
    facts.isInstalled = true;
    facts.directory = L"/opt/a";
    facts.process = 4711;
    facts.server = ServerUrl(L"https://kell.example:8083");
    facts.boot = {{L"systemd", L"links"}, {2, 3, 5}, {}};
    Findings findings;
    findings.isReachable = false;
    findings.notCompared = "only root can";
    const auto report = [&] { return TextReport(MakeDocument(facts, findings)).Utf8(); };
    EXPECT_THAT(report(),
                HasSubstr("  At boot     started in run levels 2, 3 and 5, by systemd and links\n"));
    EXPECT_THAT(report(), HasSubstr("  Server      https://kell.example:8083 (cannot be reached)\n"));
    EXPECT_THAT(report(), HasSubstr("\n\nRunning (status 0).\n"));
    facts.boot = {{L"systemd"}, {}, {}};
    findings.isReachable = true;
    EXPECT_THAT(report(), HasSubstr("  At boot     started, by systemd\n"));
    EXPECT_THAT(report(), HasSubstr("  Server      https://kell.example:8083 (can be reached)\n"));
}

TEST(StatusReport, SaysWhyThereAreNoDifferences) {
    EXPECT_THAT(Report(Json::array(), "No space."),
                HasSubstr("  Differences a configuration would fail: No space.\n"));
    EXPECT_THAT(Report(Json::array(), "No file.\nAsk for one.\n"),
                HasSubstr("  Differences a configuration would fail: No file.\n    Ask for one.\n\n"));
    const std::string report = Report(nullptr, nullptr, "only root can");
    EXPECT_THAT(report,
                HasSubstr("  Differences not looked for: only root can\n\nNot running (status 3).\n"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Status
