// When a plan holds, and what is told when it does not.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "apply/Plan.h"
#include "corekit/json/Json.h"
#include "preview/Document.h"
#include "tests/support/PrintResult.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Apply {
namespace {

using corekit::Json;

Json Document(const std::string& hash) {
    Json document = Preview::MakeFailedDocument({"1.0.0", {"-clean", "/opt/a"}, {}, "", false}, "");
    document["changes"].push_back({{"path", "/etc/file"},
                                   {"action", "replace"},
                                   {"before", {{"sha256", "old"}}},
                                   {"after", {{"sha256", hash}}},
                                   {"diff", "-old\n+" + hash}});
    return document;
}

std::string Kept(const Json& document) {
    return corekit::JsonDocument(Preview::Kept(document));
}

class Plan : public testing::Test {
  protected:
    corekit::String File(const std::string& bytes) {
        testfiles::Write(m_dir / "plan", bytes);
        return corekit::String::FromUtf8(m_dir / "plan");
    }
    corekit::String Refused(const std::string& bytes, const Json& document) {
        const auto checked = CheckPlan(File(bytes), document);
        return checked ? corekit::String(L"followed") : checked.error().text;
    }

    testfiles::TempDir m_dir;
};

TEST_F(Plan, IsFollowed_WhenTheChangesAreTheSame) {
    EXPECT_TRUE(CheckPlan(File(Kept(Document("new"))), Document("new")));
}

TEST_F(Plan, IsFollowed_WhenOnlyTheTextOfADifferenceIsAnother) {
    Json document = Document("new");
    document["changes"][0]["diff"] = nullptr;
    EXPECT_TRUE(CheckPlan(File(Kept(Document("new"))), document));
}

TEST_F(Plan, IsStale_WhenTheBytesAreOthers) {
    EXPECT_EQ(Refused(Kept(Document("new")), Document("newer")),
              L"The host has changed since the plan was made:\n  /etc/file (planned: replace, now: replace)");
}

TEST_F(Plan, IsStale_WhenAChangeIsMissingOrNew) {
    Json document = Document("new");
    document["changes"][0]["path"] = "/etc/other";
    EXPECT_EQ(Refused(Kept(Document("new")), document),
              L"The host has changed since the plan was made:\n  /etc/file (planned: replace, now: none)\n  "
              L"/etc/other (planned: none, now: replace)");
}

TEST_F(Plan, IsStale_WhenTheAgentWouldBeStartedNow) {
    Json document = Document("new");
    document["agent"]["start"] = true;
    EXPECT_EQ(Refused(Kept(Document("new")), document),
              L"The host has changed since the plan was made:\n  the agent (planned: not started, now: "
              L"started)");
}

TEST_F(Plan, TellsAPathThatIsNoUtf8InReadableForm) {
    Json document = Document("new");
    document["changes"][0]["path"] = "/etc/f\xEF\xBF\xBD";
    document["changes"][0]["path_base64"] = "L2V0Yy9m/A==";
    EXPECT_EQ(Refused(Kept(document), Document("new")),
              L"The host has changed since the plan was made:\n  /etc/file (planned: none, now: replace)\n  "
              L"/etc/f\xFFFD (planned: replace, now: none)");
}

TEST_F(Plan, IsRefused_WhenItIsOfAnotherCommand) {
    Json document = Document("new");
    document["command"] = {"-clean", "/opt/b"};
    EXPECT_TRUE(Refused(Kept(Document("new")), document).StartsWith(L"The plan is of another command: "));
}

TEST_F(Plan, IsRefused_WhenItIsNoDocument) {
    for (const char* bytes : {"", "{", "[]", "{}", R"({"format": "qdn-configure/preview/1"})",
                              R"({"format": "qdn-configure/preview/1", "command": []})",
                              R"({"format": "qdn-configure/preview/1", "command": [], "changes": 1})",
                              R"({"format": "qdn-configure/preview/1", "command": [], "changes": []})"})
        EXPECT_TRUE(Refused(bytes, Document("new")).StartsWith(L"This is no document of -preview -out: "))
            << bytes;
}

TEST_F(Plan, IsRefused_WhenSomebodyHasPutSomethingElseInAField) {
    const auto edited = [](const char* pointer, const Json& value) {
        Json plan = Document("new");
        plan[Json::json_pointer(pointer)] = value;
        return plan.dump();
    };
    for (const std::string& plan :
         {edited("/format", 1), edited("/format", "qdn-configure/preview/2"), edited("/agent", nullptr),
          edited("/changes/0", 1), edited("/changes/0", Json::array()), edited("/changes/0/path", 3),
          edited("/changes/0/path_base64", 3), edited("/changes/0/action", nullptr)})
        EXPECT_TRUE(Refused(plan, Document("new")).StartsWith(L"This is no document of -preview -out: "))
            << plan;
    EXPECT_TRUE(
        Refused(edited("/command", 3), Document("new")).StartsWith(L"The plan is of another command: "));
}

TEST_F(Plan, IsRefused_WhenItCannotBeRead) {
    const auto checked = CheckPlan(L"/nowhere/plan", Document("new"));
    ASSERT_FALSE(checked);
    EXPECT_EQ(checked.error().text, L"Unable to read the plan: /nowhere/plan");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Apply
