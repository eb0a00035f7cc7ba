// The XML configuration file: where it is looked for, when it is used, and when it goes.
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "app/XmlConfigFile.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testsupport::Captured;

constexpr const char* kName = "/.qdn-agent-install-config.xml";

std::string Document(const std::string& server) {
    return "<KSAgentConfiguration><KSName>" + server + "</KSName></KSAgentConfiguration>\n";
}

class XmlConfigFileTest : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directories(m_directory / "work/here");
        std::filesystem::create_directories("/opt/zorvane");
        ASSERT_EQ(chdir((m_directory / "work/here").c_str()), 0);
    }
    void TearDown() override {
        ASSERT_EQ(chdir("/"), 0);
        for (const std::string directory : {"/tmp", "/var", "/opt/zorvane"}) {
            std::filesystem::remove_all(directory + kName);
        }
    }

    /// The server of the file that is used; "" without one.
    std::string Server() {
        std::string server;
        m_output = Captured([&] {
            if (const auto settings = m_file.Load()) server = settings->Value(L"KSName").Utf8();
        });
        return server;
    }

    testfiles::TempDir m_directory;
    XmlConfigFile m_file;
    testsupport::Output m_output;
};

TEST_F(XmlConfigFileTest, AnEmptyFileGoesWithTheRun) {
    testfiles::Write(std::string("/var") + kName, "", 0600);
    EXPECT_EQ(Server(), "");
    m_file.Remove();
    EXPECT_FALSE(testfiles::Exists(std::string("/var") + kName));
}

TEST_F(XmlConfigFileTest, SearchesTheFixedDirectoriesAlone_WhenTheCurrentOneIsGone) {
    std::filesystem::remove(m_directory / "work/here");
    EXPECT_EQ(BuildXmlSearchPath(), L"/tmp:/var:/opt/zorvane");
}

TEST_F(XmlConfigFileTest, SearchesTheFixedDirectoriesAloneInTheRoot) {
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_EQ(BuildXmlSearchPath(), L"/tmp:/var:/opt/zorvane");
}

TEST_F(XmlConfigFileTest, SearchesTheEnvironmentsDirectoriesFirstThenTheCurrentOneAndItsParent) {
    setenv("QDNCLIENT_CONFIG_XML_DIR", "/a:/b", 1);
    setenv("AGENT_INSTALL_DIR", "/c", 1);
    EXPECT_EQ(BuildXmlSearchPath(), L"/a:/b:/c:.:..:/tmp:/var:/opt/zorvane");
    setenv("QDNCLIENT_CONFIG_XML_DIR", "", 1);
    EXPECT_EQ(BuildXmlSearchPath(), L"/c:.:..:/tmp:/var:/opt/zorvane");
}

TEST_F(XmlConfigFileTest, TheFirstDirectoryThatHoldsAFileWins) {
    setenv("QDNCLIENT_CONFIG_XML_DIR", (m_directory / "one:" + m_directory / "two").c_str(), 1);
    setenv("AGENT_INSTALL_DIR", (m_directory / "three").c_str(), 1);
    const std::vector<std::string> inOrder = {m_directory / "one",
                                              m_directory / "two",
                                              m_directory / "three",
                                              m_directory / "work/here",
                                              m_directory / "work",
                                              "/tmp",
                                              "/var",
                                              "/opt/zorvane"};
    for (auto directory = inOrder.rbegin(); directory != inOrder.rend(); ++directory) {
        const std::string server = "server-" + std::to_string(directory - inOrder.rbegin());
        testfiles::Write(*directory + kName, Document(server));
        EXPECT_EQ(Server(), server) << *directory;
    }
    EXPECT_EQ(m_output.err, "");
}

TEST_F(XmlConfigFileTest, MarksTheSettingsAsReadFromXml) {
    testfiles::Write(std::string("/tmp") + kName, Document("srv"));
    EXPECT_EQ(m_file.Load()->Value(L"XML"), L"yes");
}

TEST_F(XmlConfigFileTest, NoFileGivesNoSettings) {
    EXPECT_EQ(m_file.Load(), nullptr);
}

TEST_F(XmlConfigFileTest, AnEmptyFileGivesNoSettingsAndEndsTheSearch) {
    testfiles::Write(std::string("/tmp") + kName, "");
    testfiles::Write(std::string("/var") + kName, Document("var"));
    EXPECT_EQ(Server(), "");
    EXPECT_EQ(m_output.err, "");
}

TEST_F(XmlConfigFileTest, AFileThatIsNotWellFormedIsWarnedOfAndKept) {
    testfiles::Write(std::string("/tmp") + kName, "<KSAgentConfiguration>\n  <KSName>srv</KSPort>\n");
    EXPECT_EQ(Server(), "");
    EXPECT_THAT(m_output.err, testing::MatchesRegex(
                                  "WARNING! /tmp/.qdn-agent-install-config.xml:2:[0-9]+: mismatched tag\\. "
                                  "The file is not used\\.\n"));
    m_file.Remove();
    EXPECT_TRUE(testfiles::Exists(std::string("/tmp") + kName));
}

TEST_F(XmlConfigFileTest, AFileThatIsTooLargeIsWarnedOfAndKept) {
    const std::string path = std::string("/var") + kName;
    testfiles::Write(path, Document("srv"), 0600);
    std::filesystem::resize_file(path, 65 << 20);
    EXPECT_EQ(Server(), "");
    EXPECT_EQ(m_output.err, "WARNING! /var/.qdn-agent-install-config.xml is not used: File too large.\n");
    m_file.Remove();
    EXPECT_TRUE(testfiles::Exists(path));
}

TEST_F(XmlConfigFileTest, AFileThatOthersCanWriteIsPassedOverAndKept) {
    testfiles::Write(std::string("/tmp") + kName, Document("evil"), 0666);
    testfiles::Write(std::string("/var") + kName, Document("good"));
    EXPECT_EQ(Server(), "good");
    EXPECT_EQ(m_output.err,
              "WARNING! /tmp/.qdn-agent-install-config.xml is not used: other users can write to it.\n");
    m_file.Remove();
    EXPECT_TRUE(testfiles::Exists(std::string("/tmp") + kName));
    EXPECT_FALSE(testfiles::Exists(std::string("/var") + kName));
}

TEST_F(XmlConfigFileTest, WhatIsNoFileIsWarnedOfWithoutWaiting) {
    ASSERT_EQ(mkfifo((std::string("/var") + kName).c_str(), 0600), 0);
    EXPECT_EQ(Server(), "");
    EXPECT_THAT(m_output.err,
                testing::StartsWith("WARNING! /var/.qdn-agent-install-config.xml is not used: "));
}

TEST_F(XmlConfigFileTest, RemovesFromTheFixedDirectoriesOnly) {
    testfiles::Write(m_directory / "work/here" + kName, Document("here"));
    testfiles::Write(std::string("/opt/zorvane") + kName, Document("opt"));
    EXPECT_EQ(Server(), "here");
    m_file.Remove();
    EXPECT_TRUE(testfiles::Exists(m_directory / "work/here" + kName));
    EXPECT_FALSE(testfiles::Exists(std::string("/opt/zorvane") + kName));
}

TEST_F(XmlConfigFileTest, AFileThatCouldNotBeReadIsKept) {
    const std::string path = std::string("/opt/zorvane") + kName;
    testfiles::Write(path, Document("opt"));
    constexpr int kUsed = 1;
    const auto loadAndRemove = [] {
        XmlConfigFile file;
        const auto settings = file.Load();
        file.Remove();
        return settings ? kUsed : 0;
    };
    testsupport::FailInTurn(
        {SYS_newfstatat, SYS_openat, SYS_read, SYS_readlink}, EIO,
        [&] { testfiles::Write(path, Document("opt")); },
        [&] {
            const int used = loadAndRemove();
            return used == kUsed || testfiles::Exists(path) ? 0 : 1;
        },
        [](int isLost) { EXPECT_EQ(isLost, 0); });
}

TEST_F(XmlConfigFileTest, RemovesOnlyTheFirst) {
    testfiles::Write(std::string("/tmp") + kName, Document("tmp"));
    testfiles::Write(std::string("/var") + kName, Document("var"));
    m_file.Remove();
    EXPECT_FALSE(testfiles::Exists(std::string("/tmp") + kName));
    EXPECT_TRUE(testfiles::Exists(std::string("/var") + kName));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
