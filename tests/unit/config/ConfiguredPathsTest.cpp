// Which values of a client.conf lead to a directory, and what it names below a place.
#include <filesystem>
#include <gtest/gtest.h>

#include "config/ConfiguredDirectories.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;
using testfiles::TempDir;
using testfiles::Write;

TEST(ConfiguredPaths, GivesADirectoryOneSlashAtItsEnd) {
    EXPECT_EQ(UsableDirectory(L"/opt/agent"), L"/opt/agent/");
    EXPECT_EQ(UsableDirectory(L"/opt/agent/"), L"/opt/agent/");
    EXPECT_EQ(UsableDirectory(L"/opt/agent \t"), L"/opt/agent/");
    EXPECT_EQ(UsableDirectory(L"/opt/agent///"), L"/opt/agent/");
    EXPECT_EQ(UsableDirectory(L"/opt/a b*"), L"/opt/a b*/");
}

TEST(ConfiguredPaths, IgnoresADotAtTheEnd) {
    for (const String value : {L"/opt/agent/.", L"/opt/agent/./", L"/opt/agent//.//./", L"/opt/agent/. "})
        EXPECT_EQ(UsableDirectory(value), L"/opt/agent/") << value.Utf8();
    EXPECT_EQ(UsableDirectory(L"/opt/./agent."), L"/opt/./agent./");
    EXPECT_EQ(UsableDirectory(L"/opt/agent/..."), L"/opt/agent/.../");
    EXPECT_EQ(UsableDirectory(L"/opt/agent/.."), L"/opt/agent/../");
}

TEST(ConfiguredPaths, RefusesAnEmptyARelativeAndTheRootDirectory) {
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
        const std::vector<String> named = {L"/opt/a/b"};
        EXPECT_EQ(NamedWithin(conf, L"/opt/a"), named) << entry;
        EXPECT_EQ(NamedWithin(conf, L"/opt/a/b/"), named) << entry;
        EXPECT_TRUE(NamedWithin(conf, L"/opt/a/b/c").empty()) << entry;
        EXPECT_TRUE(NamedWithin(conf, L"/opt/a/bc").empty()) << entry;
        EXPECT_EQ(NamedWithin(conf, L"/opt/a/"), named) << entry;
    }
}

TEST(ConfiguredPaths, FindsEveryExistingPathThatAnyValueNames) {
    const TempDir temp;
    for (const char* name : {"one", "two", "three", "with blank", "library.so"}) Write(temp / name, "");
    const std::string dir = temp.Path();
    Write(temp / "conf", "[Configuration]\nsub_agent_paths=" + dir + "/one;" + dir + "/two;" + dir +
                             "/missing\n[Any]\ncommand=run \"" + dir + "/three\" -v\nname=" + dir +
                             "/with blank\nsame=" + dir + "/one\n[Other]\nlibrary=" + dir +
                             "/library.so\nrelative=one\n;comment=" + dir + "\n");
    std::vector<std::string> names;
    for (const String& path :
         NamedWithin(IniFile(String::FromUtf8(temp / "conf")), String::FromUtf8(temp.Path())))
        names.push_back(path.Utf8().substr(dir.size() + 1));
    EXPECT_EQ(names, (std::vector<std::string>{"one", "two", "three", "with blank", "library.so"}));
}

TEST(ConfiguredPaths, NamesNoOtherPath) {
    const TempDir temp;
    Write(temp / "conf", "[Configuration]\ninstalldir=\nbindir=/opt/a/b\n[Other]\nvar=/opt/a/b\n");
    EXPECT_EQ(NamedWithin(IniFile(String::FromUtf8(temp / "conf")), L"/opt/a"), std::vector<String>());
    EXPECT_EQ(NamedWithin(IniFile(String::FromUtf8(temp / "missing")), L"/"), std::vector<String>());
}

TEST(ConfiguredPaths, FollowsLinks) {
    const TempDir temp;
    std::filesystem::create_directories(temp / "real/var");
    std::filesystem::create_directory_symlink(temp / "real", temp / "link");
    Write(temp / "conf", "[Configuration]\nvar=" + (temp / "link/var") + "\n");
    const IniFile conf(String::FromUtf8(temp / "conf"));
    EXPECT_EQ(NamedWithin(conf, String::FromUtf8(temp / "real")),
              std::vector<String>{String::FromUtf8(temp / "link/var")});
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
