// The status that follows from what was found, and the fields of the document.
#include <nlohmann/json.hpp>

#include "corekit/json/Json.h"
#include "status/Document.h"
#include "tests/support/PrintString.h"

namespace Zorvane::AgentInstaller::Status {
namespace {

using corekit::Json;

Facts Configured() {
    Facts facts;
    facts.isInstalled = true;
    facts.directory = L"/opt/agent";
    facts.version = L"6.0.350";
    facts.process = 4711;
    return facts;
}

Json Found(const Json& differences, const Json& error = nullptr) {
    return {{"differences", differences}, {"error", error}};
}

unsigned StatusOf(const Facts& facts, const Json* found) {
    Findings findings;
    findings.found = found;
    return MakeDocument(facts, findings)["status"].get<unsigned>();
}

TEST(StatusDocument, TheStatusIsTheWorstThatWasFound) {
    const Json nothing = Found(Json::array());
    const Json missing = Found(Json::array({{{"path", "/x"}}}));
    const Json failing = Found(Json::array(), "No space.");
    Facts facts = Configured();
    EXPECT_EQ(StatusOf(facts, &nothing), kInOrder);
    EXPECT_EQ(StatusOf(facts, &missing), kOutOfOrder);
    EXPECT_EQ(StatusOf(facts, &failing), kOutOfOrder);
    EXPECT_EQ(StatusOf(facts, nullptr), kInOrder) << "nobody has looked";
    facts.process.reset();
    EXPECT_EQ(StatusOf(facts, &nothing), kNotRunning);
    EXPECT_EQ(StatusOf(facts, &missing), kOutOfOrder);
    EXPECT_EQ(StatusOf(facts, nullptr), kNotRunning);
    facts.isUnfinished = true;
    EXPECT_EQ(StatusOf(facts, &nothing), kOutOfOrder);
    EXPECT_EQ(StatusOf(facts, nullptr), kOutOfOrder);
    EXPECT_EQ(StatusOf(Facts(), nullptr), kNotConfigured);
}

TEST(StatusDocument, WhatIsNotKnownIsNull) {
    Facts facts = Configured();
    facts.process.reset();
    Findings findings;
    findings.version = "1.2.3";
    findings.notCompared = "a reason";
    EXPECT_EQ(MakeDocument(facts, findings).dump(),
              R"({"format":"qdn-configure/status/1","version":"1.2.3","status":3,)"
              R"("installed":{"version":"6.0.350","label":null,"directory":"/opt/agent","client_conf":"",)"
              R"("unfinished":false},"server":{"url":null,"reachable":null},)"
              R"("identifier":{"file":null,"present":false},)"
              R"("boot":{"by":[],"enabled":false,"levels":[]},"agent":{"running":false,"pid":null},)"
              R"("differences":null,"error":null,"not_compared":"a reason"})");
}

TEST(StatusDocument, WhatIsKnownStandsInItsField) {
    Facts facts = Configured();
    facts.server = ServerUrl(L"https://kell.example");
    facts.identifierFile = L"/opt/agent/etc/host.GUID";
    facts.hasIdentifier = true;
    facts.boot = {{L"systemd", L"links"}, {3, 5}, {}};
    Findings findings;
    findings.isReachable = true;
    const Json document = MakeDocument(facts, findings);
    EXPECT_EQ(document["server"].dump(), R"({"url":"https://kell.example","reachable":true})");
    EXPECT_EQ(document["identifier"].dump(), R"({"file":"/opt/agent/etc/host.GUID","present":true})");
    EXPECT_EQ(document["boot"].dump(), R"({"by":["systemd","links"],"enabled":true,"levels":[3,5]})");
    EXPECT_EQ(document["agent"].dump(), R"({"running":true,"pid":4711})");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Status
