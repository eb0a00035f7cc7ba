// The settings store: what is present, what is set, what merging takes over, and the dump.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "settings/Settings.h"
#include "tests/support/Captured.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/PrintString.h"

namespace Zorvane::AgentInstaller {
namespace {

using testing::MatchesRegex;
using testsupport::Captured;

TEST(Settings, ReadingAValueCreatesTheSettingUnset) {
    Settings settings;
    EXPECT_FALSE(settings.Exists(L"LogDir"));
    EXPECT_EQ(settings.Value(L"LogDir"), L"");
    EXPECT_TRUE(settings.Exists(L"LogDir"));
    EXPECT_FALSE(settings.IsSet(L"LogDir"));
}

TEST(Settings, AskingForASettingCreatesNone) {
    const Settings settings;
    EXPECT_EQ(settings.Get(L"LogDir"), L"");
    EXPECT_FALSE(settings.IsSet(L"LogDir"));
    EXPECT_FALSE(settings.IsYes(L"LogDir"));
    EXPECT_FALSE(settings.Exists(L"LogDir"));
}

TEST(Settings, AValueOfBlanksCountsAsSet) {
    Settings settings;
    settings.Value(L"Location") = L" ";
    EXPECT_TRUE(settings.IsSet(L"Location"));
    EXPECT_EQ(settings.Get(L"Location"), L" ");
}

TEST(Settings, OnlyTheExactWordIsYes) {
    for (const wchar_t* word : {L"", L"Yes", L"YES", L"yes ", L"true", L"no"}) {
        Settings settings;
        settings.Value(L"Upgrade") = word;
        EXPECT_FALSE(settings.IsYes(L"Upgrade")) << corekit::String(word).Utf8();
    }
    Settings settings;
    settings.Value(L"Upgrade") = L"yes";
    EXPECT_TRUE(settings.IsYes(L"Upgrade"));
}

TEST(Settings, MergingSkipsEmptyValuesExceptTheRunLevel) {
    Settings settings;
    settings.Value(L"LogDir") = L"/a";
    settings.Value(L"RunLevel") = L"rc3";
    settings.Value(L"Start") = L"yes";
    settings.Value(L"BinDir") = L"/usr/bin";
    Settings other;
    other.Value(L"LogDir") = L"";
    other.Value(L"RunLevel") = L"";
    other.Value(L"Start") = L"no";
    other.Value(L"TempDir") = L"/tmp";
    other.Value(L"Guid") = L"";

    settings.Merge(other);

    EXPECT_EQ(settings.Get(L"LogDir"), L"/a");
    EXPECT_EQ(settings.Get(L"RunLevel"), L"");
    EXPECT_EQ(settings.Get(L"Start"), L"no");
    EXPECT_EQ(settings.Get(L"BinDir"), L"/usr/bin");
    EXPECT_EQ(settings.Get(L"TempDir"), L"/tmp");
    EXPECT_FALSE(settings.Exists(L"Guid"));
}

TEST(Settings, AnEmptyRunLevelIsMerged_EvenIfThereWasNone) {
    Settings settings;
    Settings other;
    other.Value(L"RunLevel") = L"";
    settings.Merge(other);
    EXPECT_TRUE(settings.Exists(L"RunLevel"));
}

TEST(Settings, MergingLeavesTheExtraSettingsOfBothAlone) {
    Settings settings;
    settings.AddExtra({L"S", L"a", L"1"});
    Settings other;
    other.AddExtra({L"T", L"b", L"2"});
    other.AddExtra({L"T", L"c", L"3"});

    settings.Merge(other);

    ASSERT_EQ(settings.Extra().size(), 1U);
    EXPECT_EQ(settings.Extra()[0].Name, L"a");
    EXPECT_EQ(other.Extra().size(), 2U);
}

TEST(Settings, ExtraSettingsKeepTheirOrderAndTheirDuplicates) {
    Settings settings;
    settings.AddExtra({L"S", L"b", L"1"});
    settings.AddExtra({L"S", L"a", L"2"});
    settings.AddExtra({L"S", L"b", L"3"});
    std::vector<corekit::String> values;
    for (const ExtraSetting& extra : settings.Extra()) values.push_back(extra.Name + L"=" + extra.Value);
    EXPECT_THAT(values, testing::ElementsAre(L"b=1", L"a=2", L"b=3"));
}

TEST(Settings, TheInstalledDirectoryIsTheInstalledAgents) {
    Settings settings;
    EXPECT_EQ(InstalledDirectory(settings), L"");
    settings.Set(L"InstallDir", L"/opt/default", {Source::Kind::Default});
    EXPECT_EQ(InstalledDirectory(settings), L"");
    settings.Set(L"InstallDir", L"/opt/old", {Source::Kind::Installed});
    EXPECT_EQ(InstalledDirectory(settings), L"/opt/old");
    settings.Set(L"InstallDir", L"/opt/new", {Source::Kind::Answer});
    EXPECT_EQ(InstalledDirectory(settings), L"/opt/old");
}

TEST(Settings, TheDumpShowsNamesInOrderAndTheSeparatorsOfExtraSettingsAsAddresses) {
    const testsupport::EnvironmentVariable charset("LC_ALL", "C.UTF-8");
    Settings settings;
    settings.Value(L"TempDir") = L"/tmp";
    settings.Value(L"LogDir") = L"/v\u00e4r";
    settings.Value(L"Guid") = L"";
    settings.AddExtra({L"Sec", L"name", L"value"});
    const std::string dump = Captured([&] { settings.Print(); }).out;
    EXPECT_THAT(dump, MatchesRegex("Usual settings:\nGuid=\nLogDir=/v\xc3\xa4r\nTempDir=/tmp\n"
                                   "\nExtra settings:\nSec0x[0-9a-f]+name0x[0-9a-f]+value\n\n"));
}

TEST(Settings, TheDumpDoesNotSteerTheTerminal) {
    Settings settings;
    settings.Value(L"Location") = L"\033[2J";
    settings.AddExtra({L"a\n", L"b\r", L"c\a"});
    const std::string dump = Captured([&] { settings.Print(); }).out;
    EXPECT_THAT(dump, MatchesRegex("Usual settings:\nLocation=\\\\x1b\\[2J\n\nExtra settings:\n"
                                   "a\\\\x0a0x[0-9a-f]+b\\\\x0d0x[0-9a-f]+c\\\\x07\n\n"));
}

TEST(Settings, TheDumpIsInTheLocalCharacterSet) {
    const testsupport::EnvironmentVariable charset("LC_ALL", "de_DE.ISO-8859-1");
    Settings settings;
    settings.Value(L"Location") = L"K\u00f6ln";
    const std::string dump = Captured([&] { settings.Print(); }).out;
    EXPECT_EQ(dump, "Usual settings:\nLocation=K\xf6ln\n\nExtra settings:\n\n");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
