// What goes with an agent of version 5.6, and what an upgrade of it leaves standing.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/mount.h>
#include <vector>

#include "agents/removal/FileRemoval56.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;
using testfiles::Exists;
using testfiles::TempDir;
using testfiles::Write;

constexpr const char* kUsualDir = "/opt/zorvane/kell/ksagent";

// Of an agent whose client.conf says nothing: everything is where it was by default.
const std::vector<std::string> kGo = {
    "/opt/zorvane/kell/ksagent/var/qdn-client.log",
    "/opt/zorvane/kell/ksagent/var/server.xml",
    "/opt/zorvane/kell/ksagent/var/Pkg_1",
    "/opt/zorvane/kell/ksagent/var/Pkg_tree/deep/file",
    "/opt/zorvane/kell/ksagent/var/tasks/Pkg_2",
    "/usr/bin/qdn-clientconfigupdate",
    "/usr/bin/qdn-clientevent",
    "/usr/bin/qdn-clienttransport",
    "/usr/bin/qdn-messagelistener",
    "/usr/bin/qdn-objectmanager",
    "/usr/bin/qdn-policymanager",
    "/usr/bin/qdn-swdclientagent",
    "/usr/bin/qdn-taskscheduler",
    "/usr/bin/qdn-policymanager.old",
    "/usr/bin/qdn-swdclientagent.old",
    "/usr/bin/qdn-taskscheduler.old",
    "/usr/bin/qdn-collector",
    "/usr/bin/qdn-filesurveyor",
    "/usr/bin/qdn-invagent-configuration",
    "/usr/bin/qdn-invagent-generic",
    "/usr/bin/qdn-invagent-hardware",
    "/usr/bin/qdn-invagent-software",
    "/usr/bin/qdn-runinvnow",
    "/opt/zorvane/kell/ksagent/bin/qdn-policymanager.old",
    "/opt/zorvane/kell/ksagent/bin/qdn-swdclientagent.old",
    "/opt/zorvane/kell/ksagent/bin/qdn-taskscheduler.old",
    "/opt/zorvane/kell/ksagent/bin/qdn-env",
    "/opt/zorvane/kell/ksagent/bin/qdn-any",
    "/opt/zorvane/kell/ksagent/bin/rcscript",
    "/opt/zorvane/kell/ksagent/bin/runit.sh",
    "/opt/zorvane/kell/ksagent/bin/whose",
    "/opt/zorvane/kell/ksagent/bin/killem",
    "/opt/zorvane/kell/ksagent/bin/timeit",
    "/opt/zorvane/kell/ksagent/bin/wait_for_proc",
    "/opt/zorvane/kell/ksagent/etc/client.conf",
    "/opt/zorvane/kell/ksagent/etc/filescan.xml",
    "/opt/zorvane/kell/ksagent/etc/any/deep",
    "/opt/zorvane/kell/ksagent/backups/any",
    "/opt/zorvane/kell/ksagent/lib/any",
    "/opt/zorvane/kell/ksagent/lib/libzorvane.so.1",
    "/tmp/qdn-any",
    "/tmp/qdn-tree/any",
};

const std::vector<std::string> kStay = {
    "/opt/zorvane/kell/ksagent/any",
    "/opt/zorvane/kell/ksagent/bin/other",
    "/opt/zorvane/kell/ksagent/bin/aqdn-any",
    "/opt/zorvane/kell/ksagent/var/qdn-client.log.1",
    "/opt/zorvane/kell/ksagent/var/.hidden.xml",
    "/opt/zorvane/kell/ksagent/var/server.xml.bak",
    "/opt/zorvane/kell/ksagent/var/pkg_1",
    "/opt/zorvane/kell/ksagent/var/queue/a.kse",
    "/opt/zorvane/kell/ksagent/var/tasks/server.xml",
    "/opt/zorvane/kell/ksagent/var/tasks/a.kst",
    "/usr/bin/qdn-helper",
    "/usr/bin/qdn-configure",
    "/usr/bin/qdn-clientevent.old",
    "/tmp/qdnany",
    "/tmp/other",
};

const std::vector<std::string> kLibraries = {
    "libomni.so",          "libomniorb.a",      "libssl.so",      "libssl.so.0.9",      "libcrypto.so.1",
    "libxerces-c.so.21.0", "libxerces-c.so.21", "libxerces-c.so", "libxalan-c1_4_0.so", "libzorvane.so.2",
};

const std::vector<std::string> kOtherLibraries = {
    "libssl.a", "libxerces-c.so.22", "libxalan-c1_4_0.so.1", "libzorvane.a", "libother.so",
};

class FileRemoval56 : public testing::Test {
  protected:
    void TearDown() override {
        std::filesystem::remove_all("/opt/zorvane");
        std::filesystem::remove_all("/opt/data");
    }

    /// Removes the agent whose client.conf has these entries, for an upgrade when `newConfiguration` has
    /// some.
    void Remove(const std::string& configuration, const std::string& newConfiguration = "") {
        Write(m_temp / "client.conf", "[Configuration]\n" + configuration);
        Write(m_temp / "new.conf", "[Configuration]\n" + newConfiguration);
        const IniFile newConf = Conf("new.conf");
        RemoveInstalledFiles56(Conf("client.conf"), newConfiguration.empty() ? nullptr : &newConf);
    }

    IniFile Conf(const std::string& name) const {
        return IniFile(String::FromUtf8(m_temp / name), IniFile::KeyCase::FallBack);
    }

    const TempDir m_temp;
};

void WriteAll(const std::vector<std::string>& files, const std::string& directory = "") {
    for (const std::string& file : files) Write(directory + file, "");
}

void ExpectAll(const std::vector<std::string>& files, bool exist, const std::string& directory = "") {
    for (const std::string& file : files) EXPECT_EQ(Exists(directory + file), exist) << directory + file;
}

std::set<std::string> NamesIn(const std::string& directory) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        names.insert(entry.path().filename());
    return names;
}

TEST_F(FileRemoval56, RemovesNothing_WhenClientConfCannotBeRead) {
    WriteAll({kGo.begin(), kGo.end()});
    RemoveInstalledFiles56(Conf("none"), nullptr);
    for (const std::string& path : kGo) {
        EXPECT_TRUE(Exists(path)) << path;
        std::filesystem::remove(path);
    }
}

TEST_F(FileRemoval56, RemovesEachOfItsFilesAndNoOther) {
    WriteAll(kGo);
    WriteAll(kStay);
    Remove("");
    ExpectAll(kGo, false);
    ExpectAll(kStay, true);
    EXPECT_EQ(NamesIn(kUsualDir), (std::set<std::string>{"any", "bin", "var"}));
    for (const std::string& file : kStay) std::filesystem::remove(file);
}

TEST_F(FileRemoval56, KeepsClientConf_WhenSomethingIsLeft) {
    const std::string etc = std::string(kUsualDir) + "/etc/";
    WriteAll({etc + "client.conf", etc + "other"});
    Write(m_temp / "client.conf", "[Configuration]\n");
    RemovalOutcome left;
    left.Add(L"/usr/bin/qdn-collector", corekit::Result(EIO));
    const auto output =
        testsupport::Captured([&] { RemoveInstalledFiles56(Conf("client.conf"), nullptr, left); });
    EXPECT_EQ(NamesIn(etc), std::set<std::string>{"client.conf"});
    const std::string stays = "WARNING! /usr/bin/qdn-collector could not be removed: Input/output error.\n";
    std::filesystem::remove(etc + "client.conf");
    const auto again =
        testsupport::Captured([&] { RemoveInstalledFiles56(Conf("client.conf"), nullptr, left); });
    EXPECT_EQ(again.err, stays);
    EXPECT_EQ(output.err,
              stays + "WARNING! " + etc + "client.conf is kept: not everything could be removed.\n");
}

TEST_F(FileRemoval56, TellsThatClientConfStays_WhenItCannotBeRemoved) {
    const std::string etc = std::string(kUsualDir) + "/etc";
    Write(etc + "/client.conf", "");
    Write(m_temp / "client.conf", "[Configuration]\n");
    ASSERT_EQ(mount(etc.c_str(), etc.c_str(), nullptr, MS_BIND, nullptr), 0);
    ASSERT_EQ(mount(nullptr, etc.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0);
    const auto output =
        testsupport::Captured([&] { RemoveInstalledFiles56(Conf("client.conf"), nullptr, {}); });
    EXPECT_EQ(umount(etc.c_str()), 0);
    EXPECT_EQ(output.err, "WARNING! " + etc + "/client.conf could not be removed: Read-only file system.\n");
}

TEST_F(FileRemoval56, LooksWhereItsClientConfSays) {
    const std::vector<std::string> go = {
        "/opt/data/var/qdn-client.log", "/opt/data/var/a.xml",   "/opt/data/var/Pkg_a",
        "/opt/data/log/qdn-client.log", "/opt/data/tasks/Pkg_a", "/opt/data/agent/bin/qdn-a",
        "/opt/data/agent/etc/a",        "/opt/data/tmp/qdn-a",   "/opt/data/lib/libssl.so"};
    const std::vector<std::string> stay = {"/opt/data/log/a.xml",
                                           "/opt/data/log/Pkg_a",
                                           "/opt/data/tasks/a.xml",
                                           "/opt/data/lib/any",
                                           "/opt/zorvane/kell/ksagent/etc/a",
                                           "/tmp/qdn-a"};
    WriteAll(go);
    WriteAll(stay);
    Remove(
        "installdir=/opt/data/agent\nvar = /opt/data//var\ntask_storage_path=/opt/data/tasks/\n"
        "debug_output=/opt/data/log/agent.log\ntmpdir=/opt/data/tmp\nlibdir=/opt/data/lib\n");
    ExpectAll(go, false);
    ExpectAll(stay, true);
    std::filesystem::remove("/tmp/qdn-a");
}

TEST_F(FileRemoval56, FindsItsLogAtItsUsualPlace_WhereTheVariableDataIsElsewhere) {
    Write("/opt/zorvane/kell/ksagent/var/qdn-client.log", "");
    Remove("var=/opt/data/var\n");
    EXPECT_FALSE(Exists("/opt/zorvane/kell/ksagent/var/qdn-client.log"));
}

TEST_F(FileRemoval56, FindsItsLibrariesThroughTheEnvironmentScript) {
    for (const std::string script :
         {"LD_LIBRARY_PATH=/opt/data/lib:$LD_LIBRARY_PATH\n", "LD_LIBRARY_PATH=/opt/data/lib\n",
          "  LD_LIBRARY_PATH=/opt/data//lib:$\nexport LD_LIBRARY_PATH\n"}) {
        SCOPED_TRACE(script);
        WriteAll(kLibraries, "/opt/data/lib/");
        WriteAll(kOtherLibraries, "/opt/data/lib/");
        Write("/opt/zorvane/kell/ksagent/lib/libssl.so", "");
        Write("/opt/zorvane/kell/ksagent/bin/qdn-env", script);
        Remove("");
        ExpectAll(kLibraries, false, "/opt/data/lib/");
        ExpectAll(kOtherLibraries, true, "/opt/data/lib/");
        EXPECT_TRUE(Exists("/opt/zorvane/kell/ksagent/lib/libssl.so"));
    }
}

TEST_F(FileRemoval56, KeepsClientConf_WhenTheEnvironmentScriptCannotBeRead) {
    const std::string script = std::string(kUsualDir) + "/bin/qdn-env";
    const std::string conf = std::string(kUsualDir) + "/etc/client.conf";
    Write(script, "LD_LIBRARY_PATH=/opt/data/lib:$LD_LIBRARY_PATH\n");
    Write(conf, "");
    // A regular file whose first byte cannot be read.
    ASSERT_EQ(mount("/proc/self/mem", script.c_str(), nullptr, MS_BIND, nullptr), 0);
    const auto output = testsupport::Captured([&] { Remove(""); });
    EXPECT_EQ(umount(script.c_str()), 0);
    const std::string warning = "WARNING! " + script + " is not used: Input/output error.\n";
    EXPECT_EQ(output.err.substr(0, warning.size()), warning);
    EXPECT_TRUE(Exists(conf));
    Remove("");
    EXPECT_FALSE(Exists(conf));
}

TEST_F(FileRemoval56, RemovesTheConfiguredLibraries_WhenTheEnvironmentScriptNamesNoDirectory) {
    for (const std::string script :
         {"", "LD_LIBRARY_PATH=$LD_LIBRARY_PATH\n", "LD_LIBRARY_PATH=\"/opt/other:$A\"\n"}) {
        Write("/opt/data/lib/libssl.so", "");
        Write("/opt/zorvane/kell/ksagent/bin/qdn-env", script);
        Remove("libdir=/opt/data/lib\n");
        EXPECT_FALSE(Exists("/opt/data/lib/libssl.so")) << script;
    }
}

TEST_F(FileRemoval56, RemovesTheLibraryTree_OnlyWhereTheLibrariesAre) {
    Write("/opt/zorvane/kell/ksagent/lib/any", "");
    Remove("libdir=/opt/data/lib\n");
    EXPECT_TRUE(Exists("/opt/zorvane/kell/ksagent/lib/any"));
    Remove("libdir=/opt/zorvane//kell/ksagent/lib/\n");
    EXPECT_FALSE(Exists("/opt/zorvane/kell/ksagent/lib"));
}

TEST_F(FileRemoval56, LeavesTheHostsLibrariesAlone) {
    std::filesystem::create_directories("/opt/data");
    std::filesystem::create_directory_symlink("/usr/lib/qdn", "/opt/data/lib");
    for (const std::string directory : {"/usr/lib", "/usr/lib/qdn", "/usr/local/lib", "/usr/local/lib64"}) {
        WriteAll(kLibraries, directory + "/");
        Remove("libdir=" + directory + "\n");
        ExpectAll(kLibraries, true, directory + "/");
    }
    Remove("libdir=/lib\n");
    ExpectAll(kLibraries, true, "/usr/lib/");
    Remove("libdir=/opt/data/lib\n");
    ExpectAll(kLibraries, true, "/usr/lib/qdn/");
    for (const std::string directory : {"/usr/lib/", "/usr/local/lib/"}) {
        for (const std::string& file : kLibraries) std::filesystem::remove(directory + file);
    }
    std::filesystem::remove_all("/usr/lib/qdn");
    std::filesystem::remove_all("/usr/local/lib64");
}

TEST_F(FileRemoval56, RemovesNothingBelowTheInstallDirectory_WhenThatIsEmptyOrTheRootOrRelative) {
    const std::vector<std::string> below = {"/bin/qdn-a", "/etc/client.conf", "/etc/filescan.a",
                                            "/backups/a"};
    for (const std::string value : {"", "/", "//", "relative", "."}) {
        const std::filesystem::path before = std::filesystem::current_path();
        WriteAll(below, kUsualDir);
        WriteAll(below, "/opt/data");
        WriteAll(below, "/opt/data/relative");
        Write("/opt/data/lib/libssl.so", "");
        Write("/etc/filescan.a", "");
        Write("/usr/bin/qdn-runinvnow", "");
        std::filesystem::current_path("/opt/data");
        Remove("installdir=" + value + "\nlibdir=/opt/data/lib\n");
        Remove("installdir=" + value + "\nlibdir=/opt/data/lib\n", "installdir=/opt/data/new\n");
        std::filesystem::current_path(before);
        for (const std::string directory : {kUsualDir, "/opt/data", "/opt/data/relative"})
            ExpectAll(below, true, directory);
        EXPECT_TRUE(Exists("/opt/data/lib/libssl.so")) << value;
        EXPECT_TRUE(Exists("/etc/filescan.a")) << value;
        EXPECT_FALSE(Exists("/usr/bin/qdn-runinvnow")) << value;
    }
    std::filesystem::remove("/etc/filescan.a");
}

TEST_F(FileRemoval56, LooksNowhere_WhereADirectoryIsNotAbsolute) {
    const std::vector<std::string> stay = {"/opt/data/libssl.so", "/opt/data/qdn-x",
                                           "/opt/data/relative/qdn-x"};
    WriteAll(stay);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path("/opt/data");
    Remove("installdir=/opt/data/agent\nlibdir=\ntmpdir=relative\n");
    std::filesystem::current_path(before);
    ExpectAll(stay, true);
}

TEST_F(FileRemoval56, KeepsTheMarkAndClientConf_WhenDataCouldNotBeMoved) {
    const std::string etc = std::string(kUsualDir) + "/etc/";
    WriteAll({"client.conf", ".moved", "other"}, etc);
    Remove("", "installdir=/opt/data/new\n");
    EXPECT_EQ(NamesIn(etc), (std::set<std::string>{".moved", "client.conf"}));
}

TEST_F(FileRemoval56, RemovesNoTreesOfAHostDirectory) {
    const std::vector<std::string> stay = {"/opt/etc/a", "/opt/backups/a", "/opt/lib/a"};
    const std::vector<std::string> go = {"/opt/bin/rcscript", "/opt/etc/client.conf", "/opt/etc/filescan.a"};
    WriteAll(stay);
    WriteAll(go);
    Remove("installdir=/opt\nlibdir=/opt/lib\n");
    ExpectAll(stay, true);
    ExpectAll(go, false);
    for (const std::string name : {"bin", "etc", "backups", "lib"})
        std::filesystem::remove_all("/opt/" + name);
}

TEST_F(FileRemoval56, CleansTheDirectoryBehindALink_OnlyWhenItsClientConfLiesThere) {
    const std::vector<std::string> trees = {"/opt/data/etc/a", "/opt/data/backups/a", "/opt/data/lib/a"};
    std::filesystem::create_directories("/opt/zorvane/kell");
    std::filesystem::create_directory_symlink("/opt/data", kUsualDir);
    WriteAll(trees);
    Write("/opt/data/other", "");
    Write("/opt/data/bin/qdn-a", "");
    Remove("");  // by a client.conf that lies elsewhere
    ExpectAll(trees, true);
    EXPECT_FALSE(Exists("/opt/data/bin/qdn-a"));
    Write("/opt/data/etc/client.conf", "[Configuration]\n");
    RemoveInstalledFiles56(IniFile(String::FromUtf8(std::string(kUsualDir) + "/etc/client.conf")), nullptr);
    ExpectAll(trees, false);
    EXPECT_TRUE(Exists("/opt/data/other"));
}

TEST_F(FileRemoval56, RemovesTheTreesBelowADirectoryThatIsALink) {
    WriteAll(std::vector<std::string>{"/opt/data/kell/ksagent/etc/a", "/opt/data/kell/ksagent/lib/a"});
    std::filesystem::create_directory_symlink("/opt/data", "/opt/zorvane");
    Remove("");
    EXPECT_TRUE(NamesIn("/opt/data/kell/ksagent").empty());
}

TEST_F(FileRemoval56, RemovesBackups_WhateverTheyAre) {
    const std::string backups = std::string(kUsualDir) + "/backups";
    Write(backups, "a plain file");
    Remove("");
    EXPECT_FALSE(Exists(backups));
    std::filesystem::create_directories("/opt/data");
    std::filesystem::create_symlink("/opt/data", backups);
    Remove("");
    EXPECT_FALSE(Exists(backups));
    EXPECT_TRUE(Exists("/opt/data"));
    Write(backups + "/deep/file", "");
    Remove("");
    EXPECT_FALSE(Exists(backups));
}

TEST_F(FileRemoval56, ExpandsNoWildcardInAHostDirectory) {
    const std::vector<std::string> stay = {"/usr/local/lib/libssl.so", "/usr/local/bin/qdn-a", "/var/a.xml",
                                           "/var/Pkg_a", "/etc/qdn-invsoln/master.cfg"};
    const std::vector<std::string> go = {"/usr/local/bin/qdn-policymanager.old",
                                         "/usr/local/bin/qdn-swdclientagent.old",
                                         "/usr/local/bin/qdn-taskscheduler.old"};
    WriteAll(stay);
    WriteAll(go);
    Remove("installdir=/usr/local\nlibdir=/usr/local/lib\nvar=/var\ntask_storage_path=/var\ntmpdir=/etc\n");
    ExpectAll(stay, true);
    ExpectAll(go, false);
    for (const std::string& file : stay) std::filesystem::remove(file);
}

TEST_F(FileRemoval56, RemovesItsFilesFromTheHostsTemporaryDirectories) {
    for (const std::string directory : {"/tmp", "/var/tmp"}) {
        SCOPED_TRACE(directory);
        Write(directory + "/qdn-a", "");
        Write(directory + "/qdn-b/c", "");
        Remove("tmpdir=" + directory + "\n");
        EXPECT_FALSE(Exists(directory + "/qdn-a"));
        EXPECT_FALSE(Exists(directory + "/qdn-b"));
    }
}

TEST_F(FileRemoval56, TakesWildcardCharactersOfADirectoryLiterally) {
    Write("/opt/data/a*/bin/qdn-a", "");
    Write("/opt/data/ab/bin/qdn-a", "");
    Write("/opt/data/ab/etc/a", "");
    Remove("installdir=/opt/data/a*\n");
    EXPECT_FALSE(Exists("/opt/data/a*/bin/qdn-a"));
    EXPECT_TRUE(Exists("/opt/data/ab/bin/qdn-a"));
    EXPECT_TRUE(Exists("/opt/data/ab/etc/a"));
}

TEST_F(FileRemoval56, KeepsTheFilesOfTheNewPackageAndOfThisRun_WhenUpgradedInPlace) {
    const std::vector<std::string> stay = {"/bin/qdn-agent.bin",
                                           "/bin/qdn-configure.bin",
                                           "/lib/libssl.so",
                                           "/lib/deep/any",
                                           "/etc/client.proto",
                                           "/etc/config.xml",
                                           "/etc/rcscript.proto.linux",
                                           "/etc/rcscript.proto.suse",
                                           "/etc/client.conf.old",
                                           "/etc/client.conf",
                                           "/etc/ids/host.GUID"};
    const std::vector<std::string> go = {
        "/bin/qdn-agent",     "/bin/qdn-env",          "/bin/rcscript",  "/etc/filescan.xml", "/etc/om-ior",
        "/etc/old/tree/file", "/etc/client.proto.old", "/etc/host.GUID", "/backups/any",      "/var/Pkg_1",
        "/var/a.xml"};
    WriteAll(stay, kUsualDir);
    WriteAll(go, kUsualDir);
    Remove("", std::string(
                   "guid_guid_file=/opt/zorvane/kell/ksagent/etc/ids/host.GUID\ninstalldir=/opt//zorvane/") +
                   "kell/ksagent/\n");
    ExpectAll(stay, true, kUsualDir);
    ExpectAll(go, false, kUsualDir);
}

TEST_F(FileRemoval56, RemovesTheOldLogFromWhereTheNewAgentWritesOne) {
    const std::vector<std::string> logs = {"/opt/zorvane/kell/ksagent/var/qdn-client.log",
                                           "/opt/data/log/qdn-client.log"};
    for (const std::string& log : logs) {
        SCOPED_TRACE(log);
        WriteAll(logs);
        Write("/opt/data/log/other.log", "");
        Remove("debug_output=/opt/data/log/qdn-client.log\n",
               std::string("installdir=") + kUsualDir + "\ndebug_output=" + log + "\n");
        ExpectAll(logs, false);
        EXPECT_TRUE(Exists("/opt/data/log/other.log"));
    }
}

TEST_F(FileRemoval56, RemovesItsWholeListForAnotherInstallDirectory) {
    WriteAll(kGo);
    Remove("", "installdir=/opt/data/agent\n");
    ExpectAll(kGo, false);
    EXPECT_EQ(NamesIn(kUsualDir), (std::set<std::string>{"bin", "var"}));
}

TEST_F(FileRemoval56, KeepsThePathsThatTheNewConfigurationNames) {
    const std::string dir = kUsualDir;
    WriteAll(std::vector<std::string>{"/etc/certs/ca.pem", "/etc/host.GUID", "/etc/other", "/var/Pkg_store/a",
                                      "/var/Pkg_other/a", "/backups/queue/a"},
             dir);
    Write("/tmp/qdn-agent/var/a", "");
    Remove("", "installdir=/opt/data/agent\nguid_guid_file=" + dir +
                   "/etc/host.GUID\npackage_storage_path=" + dir + "/var/Pkg_store\nevent_queue_dir=" + dir +
                   "/backups/queue\nvar=/tmp/qdn-agent/var\n" + "[Client Transport]\nssl_ca_info=" + dir +
                   "/etc/certs/ca.pem\n");
    EXPECT_EQ(NamesIn(dir + "/etc"), (std::set<std::string>{"certs", "host.GUID"}));
    EXPECT_EQ(NamesIn(dir + "/var"), (std::set<std::string>{"Pkg_store"}));
    EXPECT_TRUE(Exists(dir + "/etc/certs/ca.pem"));
    EXPECT_TRUE(Exists(dir + "/backups/queue/a"));
    EXPECT_TRUE(Exists("/tmp/qdn-agent/var/a"));
    std::filesystem::remove_all("/tmp/qdn-agent");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
