// The file that holds the machine's identifier: when it is written, and when it goes.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "config/GuidFile.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

class GuidFile : public testing::Test {
  protected:
    corekit::IniFile Conf() const {
        return {L"client.conf", String::FromUtf8("[Configuration]\nguid_guid_file=" + m_file)};
    }

    testfiles::TempDir m_dir;
    std::string m_file = m_dir / "host.GUID";
    Settings m_settings;
};

TEST_F(GuidFile, HoldsTheIdentifierAndTheWordNull) {
    m_settings.Value(L"Guid") = L"{AB-12}";
    WriteGuidFile(Conf(), m_settings);
    EXPECT_EQ(testfiles::Read(m_file), "{AB-12}\nnull");
}

TEST_F(GuidFile, IsUtf8) {
    m_settings.Value(L"Guid") = L"{\u00c4}";
    WriteGuidFile(Conf(), m_settings);
    EXPECT_EQ(testfiles::Read(m_file), "{\xc3\x84}\nnull");
}

TEST_F(GuidFile, StaysWithoutAnIdentifierToWrite) {
    testfiles::Write(m_file, "{OLD}\nnull");
    WriteGuidFile(Conf(), m_settings);
    m_settings.Value(L"Guid") = L"";
    WriteGuidFile(Conf(), m_settings);
    EXPECT_EQ(testfiles::Read(m_file), "{OLD}\nnull");
}

TEST_F(GuidFile, IsReplacedByAnotherIdentifier) {
    testfiles::Write(m_file, "{OLD}");
    m_settings.Value(L"Guid") = L"{NEW}";
    WriteGuidFile(Conf(), m_settings);
    EXPECT_EQ(testfiles::Read(m_file), "{NEW}\nnull");
}

TEST_F(GuidFile, GoesWithoutAnIdentifier) {
    for (const bool isEmpty : {false, true}) {
        if (isEmpty) m_settings.Value(L"Guid") = L"";
        testfiles::Write(m_file, "{OLD}");
        RemoveUnwantedGuidFile(Conf(), m_settings);
        EXPECT_FALSE(testfiles::Exists(m_file)) << isEmpty;
    }
}

TEST_F(GuidFile, GoesEvenIfThatFailsForAMoment) {
    const int points = testsupport::FailInTurn(
        testsupport::kFileCalls, EIO, [&] { testfiles::Write(m_file, "{OLD}"); },
        [&] {
            RemoveUnwantedGuidFile(Conf(), m_settings);
            return 0;
        },
        [&](int) { EXPECT_FALSE(testfiles::Exists(m_file)); });
    EXPECT_GT(points, 2);
}

TEST_F(GuidFile, IsWantedWithAnIdentifier) {
    testfiles::Write(m_file, "{OLD}");
    m_settings.Value(L"Guid") = L"{NEW}";
    RemoveUnwantedGuidFile(Conf(), m_settings);
    EXPECT_EQ(testfiles::Read(m_file), "{OLD}");
}

TEST_F(GuidFile, ThatIsADirectoryIsLeftAlone) {
    std::filesystem::create_directory(m_file);
    RemoveUnwantedGuidFile(Conf(), m_settings);
    m_settings.Value(L"Guid") = L"{NEW}";
    WriteGuidFile(Conf(), m_settings);
    EXPECT_TRUE(std::filesystem::is_directory(m_file));
}

TEST_F(GuidFile, ThatNoConfigurationNamesIsLeftAlone) {
    testfiles::Write(m_file, "{OLD}");
    const corekit::IniFile conf(L"client.conf", L"[Configuration]\nguid_guid_file=\n");
    RemoveUnwantedGuidFile(conf, m_settings);
    m_settings.Value(L"Guid") = L"{NEW}";
    WriteGuidFile(conf, m_settings);
    EXPECT_EQ(testfiles::Read(m_file), "{OLD}");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
