// The file that holds the machine's identifier: when it is written, and when it goes.
#include <gtest/gtest.h>

#include "config/GuidFile.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

class GuidFile : public testing::Test {
  protected:
    GuidFile() {
        testfiles::Write(m_dir / "client.conf", "[Configuration]\nguid_guid_file=" + m_file + "\n");
    }

    void Write() { WriteGuidFile(String::FromUtf8(m_file), m_settings); }
    void Settle() { SettleGuidFile(String::FromUtf8(m_dir / "client.conf"), m_settings); }

    testfiles::TempDir m_dir;
    std::string m_file = m_dir / "host.GUID";
    Settings m_settings;
};

TEST_F(GuidFile, HoldsTheIdentifierAndTheWordNull) {
    m_settings.Value(L"Guid") = L"{AB-12}";
    Write();
    EXPECT_EQ(testfiles::Read(m_file), "{AB-12}\nnull");
}

TEST_F(GuidFile, IsUtf8) {
    m_settings.Value(L"Guid") = L"{\u00c4}";
    Write();
    EXPECT_EQ(testfiles::Read(m_file), "{\xc3\x84}\nnull");
}

TEST_F(GuidFile, StaysUntilTheNewConfigurationIsInPlace) {
    testfiles::Write(m_file, "{OLD}\nnull");
    Write();
    m_settings.Value(L"Guid") = L"";
    Write();
    EXPECT_EQ(testfiles::Read(m_file), "{OLD}\nnull");
    Settle();
    EXPECT_FALSE(testfiles::Exists(m_file));
}

TEST_F(GuidFile, IsWrittenInTheEndWhereThatWasNotPossibleBefore) {
    m_settings.Value(L"Guid") = L"{NEW}";
    m_file = m_dir / "later/host.GUID";
    testfiles::Write(m_dir / "client.conf", "[Configuration]\nguid_guid_file=" + m_file + "\n");
    Write();
    EXPECT_FALSE(testfiles::Exists(m_dir / "later"));
    std::filesystem::create_directory(m_dir / "later");
    Settle();
    EXPECT_EQ(testfiles::Read(m_file), "{NEW}\nnull");
}

TEST_F(GuidFile, ThatAnotherProgramPutThereIsReplaced) {
    m_settings.Value(L"Guid") = L"{NEW}";
    testfiles::Write(m_file, "{OLD}");
    Settle();
    EXPECT_EQ(testfiles::Read(m_file), "{NEW}\nnull");
}

TEST_F(GuidFile, ThatNoConfigurationNamesIsLeftAlone) {
    testfiles::Write(m_file, "{OLD}");
    testfiles::Write(m_dir / "client.conf", "[Configuration]\nguid_guid_file=\n");
    Settle();
    EXPECT_EQ(testfiles::Read(m_file), "{OLD}");
}

TEST_F(GuidFile, ThatIsADirectoryIsLeftAlone) {
    std::filesystem::create_directory(m_file);
    Settle();
    m_settings.Value(L"Guid") = L"{NEW}";
    Settle();
    EXPECT_TRUE(std::filesystem::is_directory(m_file));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
