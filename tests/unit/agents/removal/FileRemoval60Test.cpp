// What goes with an agent of version 6.x, what stays, and what a damaged client.conf cannot reach.
#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "agents/removal/FileRemoval60.h"
#include "corekit/fs/Confinement.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::IniFile;
using corekit::String;
using testfiles::Exists;
using testfiles::TempDir;
using testfiles::Write;
using testsupport::WithRoot;

constexpr const char* kAgent = "/opt/agent";
constexpr const char* kMarker = "/tmp/ksclt/.reinstall-client.conf";
constexpr const char* kGuid = "{0123abcd-4567-89AB-cdef-0123456789aF}";

/// A client.conf of its own directory that leads to nothing but what the test says.
class FileRemoval60 : public testing::Test {
  protected:
    void TearDown() override {
        for (const char* path : {"/opt/agent", "/opt/data", "/tmp/ksclt"}) std::filesystem::remove_all(path);
    }

    void Remove(const std::string& configuration, const std::string& otherSections = "") {
        Write(m_temp / "client.conf", "[Configuration]\n" + configuration + otherSections);
        RemoveInstalledFiles60(IniFile(String::FromUtf8(m_temp / "client.conf")));
    }

    const TempDir m_temp;
};

const std::string kUsualConfiguration =
    "installdir=/opt/agent\n"
    "var=/opt/agent/var\n"
    "event_queue_dir=/opt/agent/var/queue\n"
    "task_storage_path=/opt/agent/var/tasks\n"
    "swd_storage_path=/opt/agent/var/swd\n"
    "package_storage_path=/opt/agent/var/packages\n"
    "debug_output=/opt/agent/var/qdn-client.log\n"
    "guid_guid_file=/opt/agent/etc/host.GUID\n";

TEST_F(FileRemoval60, TellsOfALinkInAnotherUsersDirectory_AndLeavesWhatItLeadsTo) {
    const std::string file = std::string("/opt/data/") + kGuid;
    Write(file, "");
    Write("/opt/agent/etc/client.conf", "");
    std::filesystem::create_directory("/opt/agent/var");
    std::filesystem::create_directory_symlink("/opt/data", "/opt/agent/var/swd");
    if (chown("/opt/agent/var", 12345, 0) != 0) return;  // not root's machine
    const auto output = testsupport::Captured(
        [&] { Remove("installdir=/opt/agent\nswd_storage_path=/opt/agent/var/swd\n"); });
    EXPECT_EQ(output.err,
              "WARNING! /opt/agent/var/swd is not used: /opt/agent/var belongs to another user.\n"
              "WARNING! /opt/agent/etc/client.conf is kept: not everything could be removed.\n");
    EXPECT_TRUE(Exists(file));
}

TEST_F(FileRemoval60, SaysNothingOfTheHostsDirectories_OutsideOfWhereItMayRemove) {
    std::filesystem::create_directories("/var/lib/host");
    std::filesystem::create_directory("/opt/agent");
    const std::string conf = "installdir=/opt/agent\nevent_queue_dir=/var/lib/host\n";
    const auto kept = testsupport::Captured([&] { Remove(conf); });
    EXPECT_EQ(kept.err, "WARNING! /var/lib/host is kept: it is a directory of the host.\n");
    std::filesystem::create_directory("/opt/agent");
    ASSERT_TRUE(corekit::ConfineRemovals(L"/opt/agent"));
    const auto output = testsupport::Captured([&] { Remove(conf); });
    corekit::EndConfinement();
    EXPECT_EQ(output.err, "");
    std::filesystem::remove("/var/lib/host");
}

TEST_F(FileRemoval60, DoesNotSayThatClientConfIsKept_WhenItCannotBeWrittenAgain) {
    Write("/opt/agent/etc/client.conf", "[Configuration]\ninstalldir=/opt/agent\n");
    const auto output = testsupport::Captured([] {
        testsupport::InChild([] {
            const auto judge = [isGone = false](const seccomp_notif& call) mutable -> testsupport::Verdict {
                if (isGone) return -EIO;
                const auto* const name = reinterpret_cast<const char*>(call.data.args[1]);
                isGone = call.data.nr == SYS_unlinkat && std::string_view(name) == "client.conf";
                return std::nullopt;
            };
            testsupport::JudgeCalls({SYS_unlinkat, SYS_mkdirat, SYS_openat2}, judge);
            RemoveInstalledFiles60(IniFile(L"/opt/agent/etc/client.conf"));
            corekit::Console::Flush();
            return 0;
        });
    });
    EXPECT_EQ(output.err, "WARNING! /opt/agent could not be removed: Input/output error.\n");
}

/// A file of a store, and whether it is one of the agent's.
struct StoredFile {
    const char* key;
    const char* name;
    bool goes;
};

const StoredFile kStoredFiles[] = {
    {"event_queue_dir", "a.kse", true},
    {"event_queue_dir", "a.kse.b", false},
    {"event_queue_dir", ".kse", false},
    {"event_queue_dir", "a.ksi", true},
    {"event_queue_dir", "a.ksi12", true},
    {"event_queue_dir", "a.ks", false},
    {"event_queue_dir", "a.Ab12_x", true},
    {"event_queue_dir", "a.12345", false},
    {"event_queue_dir", "a.1234567", false},
    {"event_queue_dir", "abcdefg", false},
    {"event_queue_dir", ".hidden.123456", false},
    {"task_storage_path", "a.kst", true},
    {"task_storage_path", "a.kse", false},
    {"task_storage_path", "a.123456", false},
    {"swd_storage_path", kGuid, true},
    {"swd_storage_path", "{0123abcd-4567-89AB-cdef-0123456789a}", false},
    {"swd_storage_path", "{0123abcd-4567-89AB-cdef-0123456789ag}", false},
    {"swd_storage_path", "0123abcd-4567-89AB-cdef-0123456789aF", false},
    {"swd_storage_path", "Packages/.qdn-package-1", true},
    {"swd_storage_path", "Packages/other", true},
    {"swd_storage_path", ".qdn-package-1", false},
    {"swd_storage_path", "packages", false},
    {"package_storage_path", kGuid, true},
    {"package_storage_path", "{0123abcd}", false},
    {"package_storage_path", "qdn-.log", true},
    {"package_storage_path", "qdn-delivery.log", true},
    {"package_storage_path", "delivery.log", false},
    {"package_storage_path", "qdn-delivery.txt", false},
    {"package_storage_path", ".qdn-pkg-xml-", true},
    {"package_storage_path", ".qdn-pkg-xml-{A}", true},
    {"package_storage_path", ".qdn-pkg-snapshot-{A}", false},
};

/// The files below the install directory that an upgrade to another one removes before the tree.
constexpr const char* kGenerated[] = {
    "etc/client.conf",
    "etc/client.conf.old",
    "etc/config.xml",
    "etc/om-ior",
    "etc/host.GUID",
    "etc/UserLog.ini",
    "etc/.upgrade",
    "bin/runit.sh",
    "bin/qdn-env",
    "bin/rcscript",
    "qdn-install.log",
    "etc/client.conf.Ab12x_",
    "etc/client.conf.000000",
    "var/qdn-client.log",
};

constexpr const char* kNotGenerated[] = {
    "etc/client.proto",  "etc/client.conf.12345", "etc/client.conf.1234567", "etc/other",
    "bin/qdn-agent.bin", "var/qdn-client.log.1",  "qdn-bootstrap",
};

// The stores are links here: of a store that is one, the link goes and the agent's files behind it go,
// nothing else.
TEST_F(FileRemoval60, RemovesTheAgentsFilesFromItsStores) {
    std::string configuration;
    for (const std::string key :
         {"event_queue_dir", "task_storage_path", "swd_storage_path", "package_storage_path"}) {
        std::filesystem::create_directories("/opt/data/" + key);
        std::filesystem::create_directories(kAgent);
        std::filesystem::create_symlink("/opt/data/" + key, std::string(kAgent) + "/" + key);
        configuration += key + "=" + kAgent + "/" + key + "\n";
    }
    const auto path = [](const StoredFile& row) {
        return std::string("/opt/data/") + row.key + "/" + row.name;
    };
    for (const StoredFile& row : kStoredFiles) Write(path(row), "");
    Remove(configuration);
    for (const StoredFile& row : kStoredFiles) EXPECT_EQ(Exists(path(row)), !row.goes) << path(row);
    EXPECT_FALSE(Exists("/opt/data/swd_storage_path/Packages"));
    EXPECT_TRUE(std::filesystem::is_empty(kAgent));
}

TEST_F(FileRemoval60, RemovesTheAgentsFilesBehindALinkInAnotherStore) {
    Write(std::string(kAgent) + "/queue/a.kse", "");
    std::filesystem::create_directory_symlink("/opt/data", "/opt/agent/queue/tasks");
    for (const std::string name : {"a.kst", "a.other"}) Write("/opt/data/" + name, "");
    Remove("event_queue_dir=/opt/agent/queue\ntask_storage_path=/opt/agent/queue/tasks\n");
    EXPECT_FALSE(Exists("/opt/data/a.kst"));
    EXPECT_TRUE(Exists("/opt/data/a.other"));
    EXPECT_FALSE(Exists("/opt/agent/queue"));
}

TEST_F(FileRemoval60, RemovesFilesWithTheConfiguredExtensions) {
    std::filesystem::create_directories(kAgent);
    std::filesystem::create_directory_symlink("/opt/data", "/opt/agent/store");
    const char* const names[] = {"a.evt", "a.tsk", "a.kse", "a.kst"};
    for (const std::string name : names) Write("/opt/data/" + name, "");
    Remove(
        "event_queue_dir=/opt/agent/store\ntask_storage_path=/opt/agent/store/\n"
        "event_file_extension=.evt\ntask_file_extension=.tsk\n");
    EXPECT_FALSE(Exists("/opt/data/a.evt"));
    EXPECT_FALSE(Exists("/opt/agent/store"));
    EXPECT_TRUE(Exists("/opt/data/a.kse"));
    EXPECT_TRUE(Exists("/opt/data/a.kst"));
}

TEST_F(FileRemoval60, RemovesFilesWithTheUsualExtensions_WhenTheConfiguredOnesAreEmpty) {
    std::filesystem::create_directories(kAgent);
    std::filesystem::create_directory_symlink("/opt/data", "/opt/agent/store");
    for (const std::string name : {"a.kse", "a.kst", "a.other", "a"}) Write("/opt/data/" + name, "");
    Remove(
        "event_queue_dir=/opt/agent/store\ntask_storage_path=/opt/agent/store\n"
        "event_file_extension=\ntask_file_extension= \n");
    EXPECT_FALSE(Exists("/opt/data/a.kse"));
    EXPECT_FALSE(Exists("/opt/data/a.kst"));
    EXPECT_TRUE(Exists("/opt/data/a.other"));
    EXPECT_TRUE(Exists("/opt/data/a"));
}

TEST_F(FileRemoval60, FollowsNoExtensionOutOfItsStore) {
    std::filesystem::create_directories("/opt/data/*");
    Write("/opt/data/other/file", "");
    std::filesystem::create_directories(kAgent);
    std::filesystem::create_directory_symlink("/opt/data", "/opt/agent/store");
    Remove("event_queue_dir=/opt/agent/store\nevent_file_extension=/../other/*\n");
    EXPECT_TRUE(Exists("/opt/data/other/file"));
}

TEST_F(FileRemoval60, RemovesTheStoresAndTheInstallDirectory) {
    for (const std::string file :
         {"var/queue/deep/er/any", "var/tasks/any", "var/swd/any", "var/packages/any", "var/invlock",
          "bin/qdn-agent.bin", "etc/client.proto", "any", "qdn-bootstrap"})
        Write(std::string(kAgent) + "/" + file, "");
    Write("/opt/neighbour", "");
    Remove(kUsualConfiguration);
    EXPECT_FALSE(Exists(kAgent));
    EXPECT_TRUE(Exists("/opt/neighbour"));
    std::filesystem::remove("/opt/neighbour");
}

TEST_F(FileRemoval60, RemovesStoresOutsideTheInstallDirectory) {
    for (const std::string file :
         {"queue/a", "tasks/a", "swd/a", "packages/a", "var/a", "host.GUID", "other"})
        Write("/opt/data/" + file, "");
    Remove(
        "installdir=/opt/agent\nvar=/opt/data/var\nevent_queue_dir=/opt/data/queue\n"
        "task_storage_path=/opt/data/tasks\nswd_storage_path=/opt/data/swd\n"
        "package_storage_path=/opt/data/packages\nguid_guid_file=/opt/data/host.GUID\n");
    for (const std::string name : {"queue", "tasks", "swd", "packages", "var", "host.GUID"})
        EXPECT_FALSE(Exists("/opt/data/" + name)) << name;
    EXPECT_TRUE(Exists("/opt/data/other"));
}

TEST_F(FileRemoval60, LeavesWhatOtherPackagesKeepInTheHostsDirectoriesOfData) {
    for (const std::string file : {"a.kse", "Packages/file", "host.GUID"})
        Write("/var/lib/host/" + file, "x");
    const auto output = testsupport::Captured([&] {
        Remove(
            "installdir=/opt/agent\nvar=/var/lib/host\nevent_queue_dir=/var/lib/host\n"
            "task_storage_path=/var/lib/host\nswd_storage_path=/var/lib/host\n"
            "package_storage_path=/var/lib/host\nguid_guid_file=/var/lib/host/host.GUID\n");
    });
    EXPECT_EQ(output.err, "WARNING! /var/lib/host is kept: it is a directory of the host.\n");
    for (const std::string file : {"a.kse", "Packages/file", "host.GUID"})
        EXPECT_TRUE(Exists("/var/lib/host/" + file)) << file;
    EXPECT_FALSE(Exists(kAgent));
    std::filesystem::remove_all("/var/lib/host");
}

TEST_F(FileRemoval60, ReadsEverythingBeforeItsClientConfGoes) {
    Write("/opt/agent/etc/client.conf", "[Configuration]\n" + kUsualConfiguration);
    Write("/opt/agent/var/queue/a.kse", "");
    RemoveInstalledFiles60(IniFile(L"/opt/agent/etc/client.conf"));
    EXPECT_FALSE(Exists(kAgent));
}

// By it the next run finds what is left.
TEST_F(FileRemoval60, KeepsClientConf_UntilEverythingElseHasGone) {
    const auto prepare = [] {
        Write("/opt/agent/etc/client.conf", "[Configuration]\n" + kUsualConfiguration);
        for (const std::string name :
             {"var/queue/a.kse", "var/tasks/a.kst", "bin/qdn-agent.bin", "etc/host.GUID"})
            Write(std::string(kAgent) + "/" + name, "");
    };
    const auto remove = [] { RemoveInstalledFiles60(IniFile(L"/opt/agent/etc/client.conf")); };
    for (const int call : {SYS_newfstatat, SYS_unlinkat, SYS_openat, SYS_getdents64}) {
        prepare();
        const IniFile conf(L"/opt/agent/etc/client.conf");
        const auto output = testsupport::Captured([&] {
            testsupport::WithFailing({{call, EIO}}, [&] {
                RemoveInstalledFiles60(conf);
                return 0;
            });
        });
        EXPECT_TRUE(Exists("/opt/agent/etc/client.conf")) << call;
        EXPECT_TRUE(output.err.ends_with(
            "WARNING! /opt/agent/etc/client.conf is kept: not everything could be removed.\n"))
            << output.err;
        EXPECT_NE(output.err.find(" could not be removed: Input/output error.\n"), output.err.npos);
        remove();
        EXPECT_FALSE(Exists(kAgent)) << call;
    }
}

TEST_F(FileRemoval60, TellsFirstWhatStays_WhenItsClientConfIsWrittenAgain) {
    Write("/opt/agent/etc/client.conf", "[Configuration]\n" + kUsualConfiguration);
    const auto output = testsupport::Captured([] {
        testsupport::InChild([] {
            testsupport::JudgeCalls({SYS_unlinkat}, [](const seccomp_notif& call) -> testsupport::Verdict {
                const std::string name = reinterpret_cast<char*>(call.data.args[1]);
                const bool isItsDirectory = name == "agent";
                return isItsDirectory ? testsupport::Verdict(-EIO) : std::nullopt;
            });
            RemoveInstalledFiles60(IniFile(L"/opt/agent/etc/client.conf"));
            return 0;
        });
    });
    EXPECT_EQ(output.err,
              "WARNING! /opt/agent could not be removed: Input/output error.\n"
              "WARNING! /opt/agent/etc/client.conf is kept: not everything could be removed.\n");
    EXPECT_TRUE(Exists("/opt/agent/etc/client.conf"));
}

TEST_F(FileRemoval60, LeavesNoFileWhateverFails_WhenTheNextRunIsUndisturbed) {
    // Each call that fails takes another run: with one store, and without the many looks at what is there.
    const std::vector<int> calls = {SYS_openat, SYS_getdents64, SYS_unlink, SYS_unlinkat, SYS_rmdir};
    const std::string content =
        "[Configuration]\ninstalldir=/opt/agent\nevent_queue_dir=/opt/agent/var/queue\n";
    const auto prepare = [&] {
        Write("/opt/agent/etc/client.conf", content);
        for (const std::string name : {"var/queue/a.kse", "bin/qdn-agent.bin", "etc/host.GUID", "etc/other"})
            Write(std::string(kAgent) + "/" + name, "");
    };
    const auto remove = [&] {
        const IniFile conf(L"/opt/agent/etc/client.conf", content, IniFile::KeyCase::Exact);
        RemoveInstalledFiles60(conf);
        return 0;
    };
    int points = 0;
    testsupport::Captured([&] {
        points = testsupport::FailInTurn(calls, EIO, prepare, remove, [&](int) {
            // Where something is left, so is client.conf.
            if (Exists(kAgent)) remove();
            EXPECT_FALSE(Exists(kAgent));
            std::filesystem::remove_all(kAgent);
        });
    });
    EXPECT_GE(points, 100) << points;
}

TEST_F(FileRemoval60, KeepsClientConfAndThePrograms_WhenSomethingIsLeftFromBefore) {
    Write("/opt/agent/etc/client.conf", "[Configuration]\n" + kUsualConfiguration);
    Write("/opt/agent/etc/other", "");
    Write("/opt/agent/bin/qdn-agent.bin", "");
    Zorvane::AgentInstaller::RemovalOutcome left;
    left.AddTold();
    const auto output =
        testsupport::Captured([&] { RemoveInstalledFiles60(IniFile(L"/opt/agent/etc/client.conf"), left); });
    EXPECT_TRUE(Exists("/opt/agent/etc/client.conf"));
    EXPECT_FALSE(Exists("/opt/agent/etc/other"));
    EXPECT_TRUE(Exists("/opt/agent/bin/qdn-agent.bin")) << "the next run finds the link to it by its name";
    EXPECT_EQ(output.err, "WARNING! /opt/agent/etc/client.conf is kept: not everything could be removed.\n");
    const IniFile conf(L"/opt/agent/etc/client.conf");
    std::filesystem::remove("/opt/agent/etc/client.conf");
    EXPECT_EQ(testsupport::Captured([&] { RemoveInstalledFiles60(conf, left); }).err, "");
}

TEST_F(FileRemoval60, RemovesTheDocumentOfTheServerWithAndWithoutItsPort) {
    // The variable data is a link, so that what stays in it can be seen.
    std::filesystem::create_directories("/opt/data");
    std::filesystem::create_directories(kAgent);
    struct Server {
        const char* name;
        std::vector<std::string> go;
    };
    const Server servers[] = {
        {"host:8080", {"host:8080.xml", "host.xml"}},
        {"host", {"host.xml"}},
        {"host:1:2", {"host:1:2.xml", "host.xml"}},
        {":8080", {":8080.xml"}},
        {"*", {"*.xml"}},
        {"h?st:80", {"h?st:80.xml", "h?st.xml"}},
        {"[a-z]ost", {"[a-z]ost.xml"}},
        {"[::1]:80", {"[::1]:80.xml", "[.xml"}},
        {"", {}},
        {"../agent/host", {}},
        {"sub/host:80", {}},
    };
    std::vector<std::string> all = {".xml", "*", "host", "other.xml", "sub/host.xml", "sub/host:80.xml"};
    for (const Server& server : servers) all.insert(all.end(), server.go.begin(), server.go.end());
    for (const Server& server : servers) {
        for (const std::string& file : all) Write("/opt/data/" + file, "");
        Write("/opt/agent/host.xml", "");
        std::filesystem::create_directory_symlink("/opt/data", "/opt/agent/var");
        Remove("installdir=/opt/elsewhere\nvar=/opt/agent/var\n",
               std::string("[Kell Servers]\nserver-1=") + server.name + "\n");
        for (const std::string& file : all) {
            const bool goes = std::ranges::find(server.go, file) != server.go.end();
            EXPECT_EQ(Exists("/opt/data/" + file), !goes) << server.name << ": " << file;
        }
        EXPECT_TRUE(Exists("/opt/agent/host.xml")) << server.name;
        EXPECT_FALSE(Exists("/opt/agent/var")) << server.name;
    }
}

TEST_F(FileRemoval60, LeavesServerDocumentsToTheTree_WhereTheVariableDataIsTheUsualOne) {
    Write("/opt/data/host.xml", "");
    Write("/opt/data/invlock", "");
    std::filesystem::create_directories(kAgent);
    std::filesystem::create_directory_symlink("/opt/data", "/opt/agent/var");
    Remove("installdir=/opt/agent/\nvar=/opt/agent//var/\n", "[Kell Servers]\nserver-1=host\n");
    EXPECT_FALSE(Exists("/opt/data/invlock"));
    EXPECT_TRUE(Exists("/opt/data/host.xml"));
}

TEST_F(FileRemoval60, KeepsTheInstallersFiles_WhenAReinstallIsPending) {
    Write(kMarker, "");
    for (const std::string file : {"qdn-bootstrap", "qdn-ksclt-install.log", "qdn-install.log", ".hidden",
                                   "bin/a", "bin/qdn-bootstrap", "var/queue/a", "etc/client.conf"})
        Write(std::string(kAgent) + "/" + file, "text");
    Remove(kUsualConfiguration);
    std::set<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator(kAgent))
        left.insert(entry.path().filename());
    EXPECT_EQ(left, (std::set<std::string>{"qdn-bootstrap", "qdn-ksclt-install.log"}));
    EXPECT_EQ(testfiles::Read("/opt/agent/qdn-bootstrap"), "text");
}

TEST_F(FileRemoval60, RemovesTheEmptyInstallDirectory_WhenAReinstallIsPending) {
    Write(kMarker, "");
    Write("/opt/agent/etc/client.conf", "");
    Write("/opt/agent/bin/qdn-agent.bin", "");
    Remove(kUsualConfiguration);
    EXPECT_FALSE(Exists(kAgent));
}

TEST_F(FileRemoval60, IgnoresAReinstallMarkerThatAnyoneCanWrite) {
    Write(kMarker, "", 0666);
    Write("/opt/agent/qdn-bootstrap", "");
    const auto output = testsupport::Captured([&] { Remove(kUsualConfiguration); });
    EXPECT_FALSE(Exists(kAgent));
    EXPECT_EQ(output.err,
              "WARNING! /tmp/ksclt/.reinstall-client.conf is not used: other users can write to it.\n");
}

TEST_F(FileRemoval60, EmptiesNoHostDirectoryForAPendingReinstall) {
    Write(kMarker, "");
    Write("/usr/local/lib/qdn-precious/file", "");
    Remove("installdir=/usr/local/lib\n");
    EXPECT_TRUE(Exists("/usr/local/lib/qdn-precious/file"));
    std::filesystem::remove_all("/usr/local/lib/qdn-precious");
}

TEST_F(FileRemoval60, CleansTheDirectoryBehindALinkAndRemovesTheLinkLast) {
    Write("/opt/data/bin/qdn-agent.bin", "");
    std::filesystem::create_directory_symlink("/opt/data", "/opt/link");
    Remove("installdir=/opt/link/\n");  // by a client.conf that lies elsewhere
    EXPECT_TRUE(Exists("/opt/data/bin/qdn-agent.bin"));
    std::filesystem::remove("/opt/link");
    std::filesystem::create_directory_symlink("/opt/data", "/opt/link");
    Write("/opt/data/etc/client.conf", "[Configuration]\ninstalldir=/opt/link/\n");
    RemoveInstalledFiles60(IniFile(L"/opt/link/etc/client.conf"));
    EXPECT_FALSE(Exists("/opt/data"));
    EXPECT_FALSE(Exists("/opt/link"));
}

TEST_F(FileRemoval60, KeepsTheLinkToTheInstallersFiles_WhenAReinstallIsPending) {
    Write(kMarker, "");
    Write("/opt/data/bin/qdn-agent.bin", "");
    Write("/opt/data/qdn-bootstrap", "");
    std::filesystem::create_directory_symlink("/opt/data", "/opt/link");
    Write("/opt/data/etc/client.conf", "[Configuration]\ninstalldir=/opt/link\n");
    RemoveInstalledFiles60(IniFile(L"/opt/link/etc/client.conf"));
    EXPECT_TRUE(Exists("/opt/link/qdn-bootstrap"));
    EXPECT_FALSE(Exists("/opt/link/bin"));
    std::filesystem::remove("/opt/link");
}

TEST_F(FileRemoval60, WarnsOfTheEntryThatCouldNotBeRemoved_AndTheNextRunFinishes) {
    Write("/opt/agent/etc/client.conf", "[Configuration]\n" + kUsualConfiguration);
    std::filesystem::create_directories("/opt/agent/var/deep/mounted");
    ASSERT_EQ(mount("tmpfs", "/opt/agent/var/deep/mounted", "tmpfs", 0, nullptr), 0);
    const auto remove = [] { RemoveInstalledFiles60(IniFile(L"/opt/agent/etc/client.conf")); };
    EXPECT_EQ(testsupport::Captured(remove).err,
              "WARNING! /opt/agent/var/deep/mounted could not be removed: Device or resource busy.\n"
              "WARNING! /opt/agent/etc/client.conf is kept: not everything could be removed.\n");
    ASSERT_EQ(umount("/opt/agent/var/deep/mounted"), 0);
    EXPECT_EQ(testsupport::Captured(remove).err, "");
    EXPECT_FALSE(Exists(kAgent));
}

TEST_F(FileRemoval60, TakesWildcardCharactersOfADirectoryLiterally) {
    Write("/opt/data/a*/file.kse", "");
    Write("/opt/data/ab/file.kse", "");
    Write("/opt/data/a[b]/bin/any", "");
    Write("/opt/data/ab/bin/any", "");
    Remove("event_queue_dir=/opt/data/a*\ninstalldir=/opt/data/a[b]\n");
    EXPECT_FALSE(Exists("/opt/data/a*"));
    EXPECT_FALSE(Exists("/opt/data/a[b]"));
    EXPECT_TRUE(Exists("/opt/data/ab/file.kse"));
    EXPECT_TRUE(Exists("/opt/data/ab/bin/any"));
}

TEST_F(FileRemoval60, RemovesNothingInHostDirectories_HoweverTheyAreSpelled) {
    std::filesystem::create_directories("/opt/data");
    std::filesystem::create_directory_symlink("/etc", "/opt/data/link");
    std::filesystem::create_directories("/tmp/cwd/relative");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path("/tmp/cwd");
    std::vector<std::string> precious = {"/tmp/cwd/relative/a.kse", "/tmp/cwd/relative/invlock",
                                         "/tmp/cwd/a.kse"};
    for (const std::string directory : {"/etc", "/usr", "/usr/bin", "/usr/lib", "/var", "/var/lib"}) {
        for (const std::string name :
             {"a.kse", "a.kst", "a.123456", "qdn-a.log", ".qdn-pkg-xml-a", kGuid, "any"})
            precious.push_back(directory + "/" + name);
    }
    for (const std::string& path : precious) Write(path, "");
    for (const std::string value :
         {"/", "//", "/.", "/usr", "/usr/", "//usr//bin/", "/etc", "/opt/../etc/", "/opt/data/link",
          "/opt/data/link/", "/usr/lib", "/var/./lib", "/var", "", "relative", "./relative", "../cwd", "."}) {
        std::string configuration;
        for (const std::string key : {"installdir", "var", "event_queue_dir", "task_storage_path",
                                      "swd_storage_path", "package_storage_path", "guid_guid_file"})
            configuration += key + "=" + value + "\n";
        Remove(configuration);
        for (const std::string& path : precious) EXPECT_TRUE(Exists(path)) << value << ": " << path;
    }
    std::filesystem::current_path(before);
    for (const std::string& path : precious) std::filesystem::remove(path);
    std::filesystem::remove_all("/tmp/cwd");
}

TEST_F(FileRemoval60, LeavesTheRootDirectoryAlone) {
    const std::vector<std::string> files = {"/invlock",         "/a.kse",         "/etc/client.conf",
                                            "/qdn-install.log", "/qdn-bootstrap", "/data/a",
                                            "/Packages/a"};
    for (const std::string value : {"/", "//", "/./", "/data/..", ""}) {
        const TempDir root;
        for (const std::string& file : files) Write(root.Path() + file, "");
        std::string configuration = "[Configuration]\n";
        for (const std::string key : {"installdir", "var", "event_queue_dir", "task_storage_path",
                                      "swd_storage_path", "package_storage_path"})
            configuration += key + "=" + value + "\n";
        Write(root / "conf/agent.conf", configuration);
        WithRoot(root.Path(), [] { RemoveInstalledFiles60(IniFile(L"/conf/agent.conf")); });
        for (const std::string& file : files)
            EXPECT_TRUE(Exists(root.Path() + file)) << value << ": " << file;
    }
}

TEST_F(FileRemoval60, RemovesThePackagesBehindALink_AndNothingElseThere) {
    for (const std::string file : {"/opt/other/.qdn-package-1", "/opt/other/file"}) Write(file, "");
    Write("/opt/data/file", "");
    std::filesystem::create_directory_symlink("/opt/data", "/opt/swd");
    std::filesystem::create_directory_symlink("/opt/other", "/opt/data/Packages");
    Remove("installdir=/opt/agent\nswd_storage_path=/opt/swd\n");
    EXPECT_FALSE(Exists("/opt/other/.qdn-package-1"));
    EXPECT_TRUE(Exists("/opt/other/file"));
    EXPECT_FALSE(Exists("/opt/data/Packages"));
    EXPECT_TRUE(Exists("/opt/data/file"));
}

TEST_F(FileRemoval60, RemovesNothingWithoutAConfiguration) {
    Write("/opt/agent/etc/client.conf", "");
    RemoveInstalledFiles60(IniFile(L"/opt/agent/none.conf"));
    EXPECT_TRUE(Exists("/opt/agent/etc/client.conf"));
}

TEST_F(FileRemoval60, RemovesGeneratedFilesAndNoOthers) {
    for (const std::string file : kGenerated) Write("/opt/agent/" + file, "");
    for (const std::string file : kNotGenerated) Write("/opt/agent/" + file, "");
    EXPECT_FALSE(RemoveGeneratedFiles60(L"/opt/agent").Any());
    for (const std::string file : kGenerated) EXPECT_FALSE(Exists("/opt/agent/" + file)) << file;
    for (const std::string file : kNotGenerated) EXPECT_TRUE(Exists("/opt/agent/" + file)) << file;
}

TEST_F(FileRemoval60, KeepsGeneratedFilesThatTheNewConfigurationNames) {
    for (const std::string file : kGenerated) Write("/opt/agent/" + file, "");
    Write(m_temp / "new.conf",
          "[Configuration]\nguid_guid_file=/opt/agent/etc/host.GUID\n"
          "debug_output=/opt/agent/var/qdn-client.log\n");
    const IniFile newConf(String::FromUtf8(m_temp / "new.conf"));
    RemoveGeneratedFiles60(L"/opt/agent/", &newConf);
    for (const std::string file : kGenerated) {
        const bool isNamed = file == "etc/host.GUID" || file == "var/qdn-client.log";
        EXPECT_EQ(Exists("/opt/agent/" + file), isNamed) << file;
    }
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
