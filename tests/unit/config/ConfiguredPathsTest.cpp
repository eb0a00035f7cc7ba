// Which values of a client.conf lead to a directory, and what it names below a place.
#include <filesystem>
#include <gtest/gtest.h>

#include "config/ConfiguredPaths.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

using corekit::IniFile;
using corekit::String;
using testfiles::TempDir;
using testfiles::Write;
using namespace Zorvane::AgentInstaller;

TEST(ConfiguredPaths, GivesADirectoryOneSlashAtItsEnd) {
    EXPECT_EQ(UsableDirectory(L"/opt/agent"), L"/opt/agent/");
    EXPECT_EQ(UsableDirectory(L"/opt/agent/"), L"/opt/agent/");
    EXPECT_EQ(UsableDirectory(L"/opt/agent \t"), L"/opt/agent/");
    EXPECT_EQ(UsableDirectory(L"/opt/agent///"), L"/opt/agent/");
    EXPECT_EQ(UsableDirectory(L"/opt/a b*"), L"/opt/a b*/");
}

TEST(ConfiguredPaths, TakesADotAtItsEndForNothing) {
    for (const String value : {L"/opt/agent/.", L"/opt/agent/./", L"/opt/agent//.//./", L"/opt/agent/. "})
        EXPECT_EQ(UsableDirectory(value), L"/opt/agent/") << value.Utf8();
    EXPECT_EQ(UsableDirectory(L"/opt/./agent."), L"/opt/./agent./");
    EXPECT_EQ(UsableDirectory(L"/opt/agent/..."), L"/opt/agent/.../");
    EXPECT_EQ(UsableDirectory(L"/opt/agent/.."), L"/opt/agent/../");
}

TEST(ConfiguredPaths, UsesNoEmptyRelativeOrRootDirectory) {
    for (const String value :
         {L"", L" ", L"/", L"//", L"/.", L"/./", L"/usr/..", L"relative", L"./a", L"../a", L"."})
        EXPECT_EQ(UsableDirectory(value), L"") << value.Utf8();
}

TEST(ConfiguredPaths, ReadsTheSectionConfiguration) {
    const TempDir temp;
    Write(temp / "conf", "[Other]\nvar=/opt/other\n[Configuration]\nvar=/opt/var\n");
    const IniFile conf(String::FromUtf8(temp / "conf"));
    EXPECT_EQ(ConfiguredDirectory(conf, Key::kVar), L"/opt/var/");
    EXPECT_EQ(ConfiguredDirectory(conf, Key::kInstallDir), L"");
}

TEST(ConfiguredPaths, FindsWhatAClientConfNamesBelowAPlace) {
    const TempDir temp;
    for (const std::string entry : {"[Configuration]\ninstalldir", "[Configuration]\nevent_queue_dir",
                                    "[Configuration]\ntask_storage_path", "[Configuration]\nswd_storage_path",
                                    "[Configuration]\npackage_storage_path", "[Configuration]\nvar",
                                    "[Configuration]\nguid_guid_file", "[Configuration]\ndebug_output",
                                    "[Client Transport]\nssl_ca_info", "[Client Transport]\nssl_ca_path"}) {
        Write(temp / "conf", entry + "=/opt/a/b\n");
        const IniFile conf(String::FromUtf8(temp / "conf"));
        EXPECT_EQ(NamedWithin(conf, L"/opt/a"), L"/opt/a/b") << entry;
        EXPECT_EQ(NamedWithin(conf, L"/opt/a/b/"), L"/opt/a/b") << entry;
        EXPECT_EQ(NamedWithin(conf, L"/opt/a/b/c"), L"") << entry;
        EXPECT_EQ(NamedWithin(conf, L"/opt/a/bc"), L"") << entry;
        EXPECT_EQ(NamedWithin(conf, L"/opt/a/"), L"/opt/a/b") << entry;
    }
}

TEST(ConfiguredPaths, NamesNothingElse) {
    const TempDir temp;
    Write(temp / "conf", "[Configuration]\ninstalldir=\nbindir=/opt/a/b\n[Other]\nvar=/opt/a/b\n");
    EXPECT_EQ(NamedWithin(IniFile(String::FromUtf8(temp / "conf")), L"/opt/a"), L"");
    EXPECT_EQ(NamedWithin(IniFile(String::FromUtf8(temp / "missing")), L"/"), L"");
}

TEST(ConfiguredPaths, FollowsLinks) {
    const TempDir temp;
    std::filesystem::create_directories(temp / "real/var");
    std::filesystem::create_directory_symlink(temp / "real", temp / "link");
    Write(temp / "conf", "[Configuration]\nvar=" + (temp / "link/var") + "\n");
    const IniFile conf(String::FromUtf8(temp / "conf"));
    EXPECT_EQ(NamedWithin(conf, String::FromUtf8(temp / "real")), String::FromUtf8(temp / "link/var"));
}
