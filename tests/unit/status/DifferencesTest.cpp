// Which changes of a rehearsed configuration are differences.
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "corekit/json/Json.h"
#include "run/Messages.h"
#include "status/Differences.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Status {
namespace {

using corekit::Json;
using testing::ElementsAre;
using testing::IsEmpty;

/// What a run tells of itself that has succeeded and configured nothing.
std::string Record(unsigned status = 0) {
    return corekit::Cbor({{"status", status},
                          {"settings", Json::array()},
                          {"client_conf", nullptr},
                          {"stores", Json::array()},
                          {"places", Json::array()},
                          {"start", false}});
}

constexpr const char* kConf = "/opt/agent/etc/client.conf";

class StatusDifferences : public testing::Test {
  protected:
    StatusDifferences() {
        testfiles::Write(kConf, "[A]\none=1\npassword=secret\n# remark\n[B]\ntwo=2\n");
        testfiles::Write("/opt/agent/bin/program", "program", 0555);
    }
    ~StatusDifferences() override {
        std::filesystem::remove_all("/opt/agent");
        std::filesystem::remove_all("/tmp/ksclt");
    }

    /// "action path" of each difference after a configuration that does this.
    template <typename Action>
    std::vector<std::string> After(Action&& configure) {
        const auto run = [&] {
            configure();
            return Record();
        };
        const auto found = FindDifferences(run, L"/opt/agent");
        std::vector<std::string> lines;
        if (!found) {
            ADD_FAILURE() << found.error().text.Utf8();
            return lines;
        }
        EXPECT_TRUE((*found)["error"].is_null());
        for (const Json& difference : (*found)["differences"])
            lines.push_back(difference["action"].get<std::string>() + " " +
                            difference["path"].get<std::string>());
        return lines;
    }

    /// What is told after a configuration that has not replaced what lies in place of a link, and nothing
    /// else.
    static Json DifferenceOfALinkNotReplaced(const wchar_t* link) {
        const auto run = [&] {
            Messages::pathsNotReplaced.insert(link);
            return WithWhatWasLeft(Record());
        };
        const auto found = FindDifferences(run, L"/opt/agent");
        if (found && (*found)["differences"].size() == 1) return (*found)["differences"][0];
        ADD_FAILURE() << "one difference was expected";
        return Json::object();
    }
};

TEST_F(StatusDifferences, EachChangeOfTheConfigurationIsADifference) {
    EXPECT_THAT(
        After([] {
            testfiles::Write("/opt/agent/new", "");
            testfiles::Write("/opt/agent/bin/program", "other", 0555);
            std::filesystem::remove_all("/opt/agent/etc");
        }),
        ElementsAre("replace /opt/agent/bin/program", "remove /opt/agent/etc", "create /opt/agent/new"));
    EXPECT_THAT(After([] {}), IsEmpty());
}

TEST_F(StatusDifferences, AStricterModeIsNoDifference_AndAnyOtherIsOne) {
    const auto program = [](mode_t ours) {
        return [ours] { EXPECT_EQ(chmod("/opt/agent/bin/program", ours), 0); };
    };
    EXPECT_THAT(After(program(0755)), IsEmpty());
    EXPECT_THAT(After(program(0544)), ElementsAre("change /opt/agent/bin/program"));
    EXPECT_THAT(After(program(0744)), ElementsAre("change /opt/agent/bin/program"))
        << "neither holds the other";
}

TEST_F(StatusDifferences, AnotherOwnerIsADifference_WhateverTheMode) {
    if (chown("/opt/agent/bin/program", 1234, 0) != 0)
        return;  // there is nobody else on an ordinary user's machine
    EXPECT_THAT(After([] {
                    EXPECT_EQ(chown("/opt/agent/bin/program", 0, 0), 0);
                    EXPECT_EQ(chmod("/opt/agent/bin/program", 0755), 0);
                }),
                ElementsAre("change /opt/agent/bin/program"));
}

TEST_F(StatusDifferences, ClientConfIsComparedByItsValues) {
    const auto write = [](const char* text) { return [text] { testfiles::Write(kConf, text); }; };
    EXPECT_THAT(After(write("[B]\ntwo = 2\n[A]\npassword=secret\none=1\n")), IsEmpty());
    for (const char* text :
         {"[A]\none=1\npassword=secret\n[B]\ntwo=3\n", "[A]\none=1\npassword=secret\n",
          "[A]\none=1\npassword=other\n[B]\ntwo=2\n", "[A]\none=1\npassword=secret\n[B]\ntwo=2\nthree=3\n"})
        EXPECT_THAT(After(write(text)), ElementsAre(std::string("replace ") + kConf)) << text;
}

TEST_F(StatusDifferences, ALinkInPlaceOfClientConfIsOne_ThoughItsValuesAreTheSame) {
    const std::string text = testfiles::Read(kConf);
    testfiles::Write("/opt/agent/elsewhere", text);
    std::filesystem::remove(kConf);
    std::filesystem::create_symlink("/opt/agent/elsewhere", kConf);
    EXPECT_THAT(After([&] {
                    std::filesystem::remove(kConf);
                    testfiles::Write(kConf, text);
                }),
                ElementsAre(std::string("replace ") + kConf));
}

TEST_F(StatusDifferences, AnAttributeIsOne_AndSoIsAGroup) {
    EXPECT_THAT(After([] { testfiles::SetAttribute("/opt/agent/bin/program", "user.note", "x"); }),
                ElementsAre("change /opt/agent/bin/program"));
    EXPECT_THAT(After([] { EXPECT_EQ(chown("/opt/agent/bin/program", 0, 34), 0); }),
                ElementsAre("change /opt/agent/bin/program"));
}

TEST_F(StatusDifferences, ALinkOfTheHelpersNameWouldLeadToTheHelper) {
    testfiles::Write("/opt/agent/links/qdn-helper", "somebody's");
    const Json difference = DifferenceOfALinkNotReplaced(L"/opt/agent/links/qdn-helper");
    EXPECT_EQ(difference["after"]["target"], "/usr/bin/qdn-helper");
}

TEST_F(StatusDifferences, AHelperThatIsMissingIsOne) {
    EXPECT_THAT(After([] { testfiles::Write("/usr/bin/qdn-helper", ""); }),
                ElementsAre("create /usr/bin/qdn-helper"));
}

TEST_F(StatusDifferences, AHelperThatWouldGoWithAnOldPackageIsNone) {
    testfiles::Write("/usr/bin/qdn-helper", "helper", 0555);
    EXPECT_THAT(After([] { std::filesystem::remove("/usr/bin/qdn-helper"); }), IsEmpty());
    std::filesystem::remove("/usr/bin/qdn-helper");
}

TEST_F(StatusDifferences, ARunThatHasNotSaidHowItEndedIsAFailure) {
    const auto found = FindDifferences([] { return std::string(); }, L"/opt/agent");
    ASSERT_FALSE(found);
    EXPECT_EQ(found.error().text, L"The preview failed: the command has not said how it ended.");
}

TEST_F(StatusDifferences, ClientConfHasToHaveItsMode) {
    EXPECT_EQ(chmod(kConf, 0666), 0);
    EXPECT_THAT(After([] { testfiles::Write(kConf, "[A]\none=1\npassword=secret\n[B]\ntwo=2\n", 0644); }),
                ElementsAre(std::string("change ") + kConf));
}

TEST_F(StatusDifferences, TheSavedConfigurationAndHandOverFilesAreNoDifference) {
    testfiles::Write("/tmp/ksclt/.migrate-client.conf", "");
    EXPECT_THAT(After([] {
                    testfiles::Write("/opt/agent/etc/client.conf.old", "", 0666);
                    std::filesystem::remove_all("/tmp/ksclt");
                }),
                IsEmpty());
}

TEST_F(StatusDifferences, FilesOfTheHostsToolsAreNoDifference_ButTheServiceIsOne) {
    EXPECT_THAT(After([] {
                    for (const char* path :
                         {"/etc/init.d/.depend.boot", "/etc/rc0.d/K02other", "/root/.rpmdb/rpmdb.sqlite",
                          "/var/lib/rpm/rpmdb.sqlite-shm", "/etc/init.d/zorvane", "/etc/rc3.d/S99zorvane"})
                        testfiles::Write(path, "");
                }),
                ElementsAre("create /etc/init.d/zorvane", "create /etc/rc3.d/S99zorvane"));
}

TEST_F(StatusDifferences, ALinkOfSomebodyElseIsADifference) {
    testfiles::Write("/opt/agent/links/qdn-monitor", "somebody's");
    const Json difference = DifferenceOfALinkNotReplaced(L"/opt/agent/links/qdn-monitor");
    EXPECT_EQ(difference["path"], "/opt/agent/links/qdn-monitor");
    EXPECT_EQ(difference["action"], "replace");
    EXPECT_EQ(difference["before"]["type"], "file");
    EXPECT_EQ(difference["before"]["sha256"],
              "e06030c124e908f9ad93a8cd09446bb5aaa1e65638c9f4034b24e3efeae531fc");
    EXPECT_EQ(difference["after"]["target"], "/opt/agent/bin/qdn-monitor");
}

TEST_F(StatusDifferences, ALinkOfSomebodyElseThatHasVanishedSinceIsMissing) {
    const Json difference = DifferenceOfALinkNotReplaced(L"/opt/agent/links/qdn-monitor");
    EXPECT_EQ(difference["action"], "create");
    EXPECT_TRUE(difference["before"].is_null());
}

TEST_F(StatusDifferences, AConfigurationThatFailsGivesItsError) {
    const auto failing = [](const char* said) {
        return [said] {
            if (said != nullptr) Messages::Warn(corekit::String::FromUtf8(said));
            return Record(1);
        };
    };
    EXPECT_EQ((*FindDifferences(failing("ERROR: No space.\n"), L"/opt/agent"))["error"], "No space.");
    EXPECT_EQ((*FindDifferences(failing(nullptr), L"/opt/agent"))["error"], "Agent configuration failed.");
}

TEST_F(StatusDifferences, ALinkOrWrapperThatCannotBeMadeIsTheError) {
    const auto run = [] {
        Messages::WarnNotMade(corekit::Result(EISDIR).About(L"/opt/agent/bin/qdn-monitor"));
        return WithWhatWasLeft(Record());
    };
    EXPECT_EQ((*FindDifferences(run, L"/opt/agent"))["error"],
              "/opt/agent/bin/qdn-monitor could not be made: Is a directory.");
}

TEST_F(StatusDifferences, NoOtherSourceIsSeen) {
    const testsupport::EnvironmentVariable server("QDN_INSTALL_KSNAME", "other");
    const testsupport::EnvironmentVariable own("QDNCLIENT_CONFIG_FILE", "/other");
    const testsupport::EnvironmentVariable xml("AGENT_INSTALL_DIR", "/other");
    testfiles::Write("/tmp/ksclt/.migrate-client.conf", "");
    HideOtherSources(L"/opt/agent/etc/client.conf");
    EXPECT_EQ(std::getenv("QDN_INSTALL_KSNAME"), nullptr);
    EXPECT_EQ(std::getenv("AGENT_INSTALL_DIR"), nullptr);
    EXPECT_STREQ(std::getenv("QDNCLIENT_CONFIG_FILE"), kConf);
    EXPECT_FALSE(testfiles::Exists("/tmp/ksclt"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Status
