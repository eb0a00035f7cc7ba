// Which directories belong to the host.
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/SystemCall.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Mount.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/Workspace.h"

using corekit::ParentDirectory;
using corekit::String;
using testsupport::Mount;
using testsupport::WithRoot;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

template <typename Directory>
bool IsHostDirectory(const Directory& directory) {
    return corekit::CheckRemovable(directory) == corekit::Result(EPERM);
}

bool NamesHost(const String& path) {
    return !corekit::CheckReplaceable(ParentDirectory::Of(path).value().At());
}

}  // namespace

TEST(HostDirectories, HoldEveryNameOfTheStandard) {
    for (const wchar_t* path :
         {L"/",      L"/bin",    L"/boot",  L"/dev", L"/etc", L"/home", L"/lib",  L"/lib32",
          L"/lib64", L"/libx32", L"/media", L"/mnt", L"/opt", L"/proc", L"/root", L"/run",
          L"/sbin",  L"/srv",    L"/sys",   L"/tmp", L"/usr", L"/var"}) {
        EXPECT_TRUE(IsHostDirectory(path)) << String(path).Utf8();
    }
    for (const String parent : {L"/usr/", L"/usr/local/"}) {
        for (const wchar_t* name : {L"bin", L"games", L"include", L"lib", L"lib32", L"lib64", L"libexec",
                                    L"local", L"sbin", L"share", L"src"}) {
            EXPECT_TRUE(IsHostDirectory(parent + name)) << (parent + name).Utf8();
        }
    }
    for (const wchar_t* name :
         {L"cache", L"lib", L"local", L"lock", L"log", L"mail", L"opt", L"run", L"spool", L"tmp"}) {
        EXPECT_TRUE(IsHostDirectory(String(L"/var/") + name)) << String(name).Utf8();
    }
    for (const wchar_t* name : {L"init.d", L"opt", L"rc0.d", L"rc5.d", L"rcS.d", L"rc.d"})
        EXPECT_TRUE(IsHostDirectory(String(L"/etc/") + name)) << String(name).Utf8();
}

TEST(HostDirectories, HoldNothingElse) {
    fs::create_directories("/opt/zorvane/etc");
    fs::create_directories("/var/zorvane");
    for (const wchar_t* path :
         {L"", L"/none", L"/opt/zorvane", L"/opt/zorvane/etc", L"/opt/usr", L"/usr/none", L"/usr/bin/none",
          L"/var/lib/none", L"/var/zorvane", L"/etc/none", L"/etc/rc", L"/binary", L"/usrlocal"}) {
        EXPECT_FALSE(IsHostDirectory(path)) << String(path).Utf8();
    }
}

TEST(HostDirectories, AreKnown_HoweverTheyAreSpelled) {
    fs::current_path("/usr/share");
    for (const wchar_t* path :
         {L"//usr//", L"/usr/.", L"/opt/../usr", L"/none/../usr", L"/opt/none/../../usr", L"..", L".",
          L"../../etc", L"/proc/self/root/usr", L"/proc/self/cwd", L"/../"})
        EXPECT_TRUE(IsHostDirectory(path)) << String(path).Utf8();
    fs::current_path("/");
    EXPECT_TRUE(IsHostDirectory(L"usr"));
    EXPECT_TRUE(IsHostDirectory(L"."));
}

TEST(HostDirectories, AreKnownThroughLinks) {
    const Workspace dir;
    fs::create_symlink("/etc", dir / "etc");
    fs::create_symlink("/", dir / "root");
    fs::create_symlink("root/usr/local", dir / "chain");
    EXPECT_TRUE(IsHostDirectory(dir("etc")));
    EXPECT_TRUE(IsHostDirectory(dir("root")));
    EXPECT_TRUE(IsHostDirectory(dir("root/srv")));
    EXPECT_TRUE(IsHostDirectory(dir("chain/")));
    EXPECT_TRUE(IsHostDirectory(dir("chain/lib")));
    EXPECT_FALSE(IsHostDirectory(dir("chain/none")));
}

TEST(HostDirectories, AreKnownThroughMounts) {
    const Workspace dir;
    fs::create_directory(dir / "mounted");
    const Mount mount = Mount::Bind("/usr", dir / "mounted");
    EXPECT_TRUE(IsHostDirectory(dir("mounted")));
    EXPECT_TRUE(IsHostDirectory(dir("mounted/local/")));
    EXPECT_FALSE(IsHostDirectory(dir("mounted/none")));
    EXPECT_TRUE(IsHostDirectory(corekit::OpenDirectory(dir / "mounted").value()));
    EXPECT_FALSE(IsHostDirectory(corekit::OpenDirectory(dir.Path()).value()));
}

TEST(HostDirectories, AreRefused_EvenIfTheNameIsALinkOrMissing) {
    const Workspace root;
    for (const char* directory : {"usr/lib", "etc/rc.d/rc3.d", "data/opt", "lost"})
        fs::create_directories(root / directory);
    fs::create_symlink("usr/lib", root / "lib");
    fs::create_symlink("rc.d/rc3.d", root / "etc/rc3.d");
    fs::create_symlink("data/opt", root / "opt");
    fs::create_symlink("nowhere", root / "lib64");
    WithRoot(root.Path(), [] {
        for (const wchar_t* path : {L"/lib", L"/lib64", L"/etc/rc3.d", L"/etc/rc.d", L"/opt", L"/srv",
                                    L"/var", L"/var/lib", L"/usr/local", L"/usr/local/bin"})
            EXPECT_TRUE(IsHostDirectory(path)) << path;
        // Where the links lead is theirs as well.
        for (const wchar_t* path : {L"/data/opt", L"/etc/rc.d/rc3.d"})
            EXPECT_TRUE(IsHostDirectory(path)) << path;
        for (const wchar_t* path : {L"/lost", L"/data", L"/nowhere"})
            EXPECT_FALSE(IsHostDirectory(path)) << path;
    });
}

// A removal that went on would cost the host its directories.
TEST(HostDirectories, AreAssumed_WhenTheLookupFails) {
    const Workspace dir;
    const corekit::String path = dir("");
    for (const int errnoValue : {EIO, EACCES, EMFILE}) {
        const auto refused = [&](const corekit::String& place) {
            return testsupport::WithFailing({{SYS_newfstatat, errnoValue}, {SYS_fstat, errnoValue}},
                                            [&] { return corekit::CheckRemovable(place).Code(); });
        };
        EXPECT_EQ(refused(path), errnoValue);
        EXPECT_EQ(refused(L"/usr"), EPERM);  // known by its name
        EXPECT_EQ(testsupport::WithFailing({{SYS_newfstatat, errnoValue}, {SYS_fstat, errnoValue}},
                                           [&] { return corekit::CheckInstallable(path).Code(); }),
                  errnoValue);
        EXPECT_EQ(testsupport::WithFailing({{SYS_openat, errnoValue}},
                                           [&] { return corekit::CheckRemovable(path).Code(); }),
                  errnoValue);
        const auto refusedUnread = [&] {
            const corekit::Result result = corekit::CheckRemovable(path);
            // What could not be read is not what could not be removed.
            return result.Path().IsEmpty() ? result.Code() : -1;
        };
        EXPECT_EQ(testsupport::WithFailing({{SYS_getdents64, errnoValue}}, refusedUnread), errnoValue);
        const ParentDirectory place = ParentDirectory::Of(path + L"/file").value();
        EXPECT_EQ(testsupport::WithFailing({{SYS_newfstatat, errnoValue}, {SYS_fstat, errnoValue}},
                                           [&] { return corekit::CheckReplaceable(place.At()).Code(); }),
                  errnoValue);
    }
    EXPECT_TRUE(corekit::CheckRemovable(path));
}

TEST(HostNames, AreThoseOfTheStandard_WhateverStandsThere) {
    const Workspace dir;
    fs::create_symlink("/", dir / "root");
    fs::create_symlink("/etc", dir / "etc");
    EXPECT_TRUE(NamesHost(L"/lib"));
    EXPECT_TRUE(NamesHost(L"/usr/local/lib64/"));
    EXPECT_TRUE(NamesHost(L"/etc/rc3.d"));
    EXPECT_TRUE(NamesHost(L"/opt/../srv"));
    EXPECT_TRUE(NamesHost(dir("root/bin")));
    EXPECT_FALSE(NamesHost(dir("etc")));  // a name of ours, wherever it leads
    EXPECT_FALSE(NamesHost(L"/usr/bin/lib"));
    EXPECT_FALSE(NamesHost(dir("lib")));
}

TEST(HostDirectories, HoldAllThatLiesWherePackagesAndUsersKeepTheirFiles) {
    const Workspace root;
    const auto lay = [&](const std::string& parent) { fs::create_directories(root / (parent + "/a/below")); };
    const auto isHosts = [](const std::string& path) {
        return IsHostDirectory(String::FromUtf8("/" + path));
    };
    const std::vector<std::string> trees = {
        "boot",    "root",      "run",     "usr/include", "usr/local/lib", "usr/local/share",
        "usr/src", "var/cache", "var/lib", "var/log",     "var/mail",      "var/spool"};
    const std::vector<std::string> directories = {"dev", "home"};
    std::ranges::for_each(trees, lay);
    std::ranges::for_each(directories, lay);
    WithRoot(root.Path(), [&] {
        for (const std::string& parent : trees) {
            EXPECT_TRUE(isHosts(parent + "/a")) << parent;
            EXPECT_TRUE(isHosts(parent + "/a/below")) << parent;
        }
        for (const std::string& parent : directories) {
            EXPECT_TRUE(isHosts(parent + "/a")) << parent;
            EXPECT_FALSE(isHosts(parent + "/a/below")) << parent;
        }
    });
}

TEST(HostDirectories, HoldWhatLiesInTheDirectoriesThatManyShare) {
    for (const char* parent : {"/etc", "/usr/lib", "/usr/libexec", "/usr/share"}) {
        const std::string entry = std::string(parent) + "/host-entry";
        fs::create_directories(entry + "/below");
        EXPECT_TRUE(IsHostDirectory(String::FromUtf8(entry))) << entry;
        EXPECT_TRUE(NamesHost(String::FromUtf8(entry))) << entry;
        EXPECT_TRUE(IsHostDirectory(String::FromUtf8(entry + "/below"))) << entry;
        EXPECT_FALSE(NamesHost(String::FromUtf8(entry + "/below"))) << entry;
        EXPECT_TRUE(corekit::CheckInstallable(String::FromUtf8(entry))) << entry;
        corekit::DeclareOwn(String::FromUtf8(entry + "/below"));
        EXPECT_FALSE(IsHostDirectory(String::FromUtf8(entry))) << entry;
        EXPECT_FALSE(NamesHost(String::FromUtf8(entry))) << entry;
        EXPECT_FALSE(IsHostDirectory(String::FromUtf8(entry + "/below"))) << entry;
        corekit::ForgetOwn();
        EXPECT_TRUE(IsHostDirectory(String::FromUtf8(entry))) << entry;
        fs::remove_all(entry);
    }
}

TEST(HostDirectories, HoldWhatLiesInThoseOfDataUnlessItHasANameOfOurs) {
    for (const char* parent :
         {"/root", "/run", "/usr/local/lib", "/var/cache", "/var/lib", "/var/log", "/var/spool"}) {
        const std::string path = std::string(parent) + "/host-entry";
        const String entry = String::FromUtf8(path);
        fs::create_directories(path + "/below");
        EXPECT_TRUE(IsHostDirectory(entry)) << path;
        EXPECT_TRUE(IsHostDirectory(entry + L"/below")) << path;
        EXPECT_FALSE(NamesHost(entry)) << path;  // a file of the administrator's may lie there
        corekit::DeclareOwnName(L"host-entry");
        EXPECT_FALSE(IsHostDirectory(entry)) << path;
        EXPECT_FALSE(IsHostDirectory(entry + L"/below")) << path;
        corekit::ForgetOwn();
        corekit::DeclareOwn(entry + L"/below");
        EXPECT_FALSE(IsHostDirectory(entry)) << path;
        corekit::ForgetOwn();
        fs::remove_all(path);
    }
    fs::create_directories("/etc/host-entry");
    corekit::DeclareOwnName(L"host-entry");
    EXPECT_TRUE(IsHostDirectory(L"/etc/host-entry"));
    fs::remove("/etc/host-entry");
}

TEST(HostDirectories, AreNoneWhereTwoPathsOfDataLieAndNothingElse) {
    const std::string path = "/var/lib/host-entry";
    const String entry = String::FromUtf8(path);
    fs::create_directories(path + "/queue/deep");
    fs::create_directories(path + "/data/tasks");
    testfiles::Write(path + "/agent.log.1", "");
    corekit::DeclareData(entry + L"/queue");
    corekit::DeclareData(entry + L"//queue/");
    EXPECT_TRUE(IsHostDirectory(entry + L"/queue"));  // only one
    corekit::DeclareData(entry + L"/data/tasks");
    EXPECT_TRUE(IsHostDirectory(entry + L"/queue"));  // a file that is nobody's data
    corekit::DeclareData(entry + L"/agent.log");
    EXPECT_FALSE(IsHostDirectory(entry + L"/queue"));
    EXPECT_FALSE(IsHostDirectory(entry + L"/queue/deep"));
    EXPECT_FALSE(IsHostDirectory(entry + L"/data/tasks"));
    testfiles::Write(path + "/data/other", "");
    EXPECT_TRUE(IsHostDirectory(entry + L"/queue"));
    fs::remove_all(path);
    fs::create_directories("/etc/host-entry/queue");
    fs::create_directories("/etc/host-entry/tasks");
    corekit::DeclareData(L"/etc/host-entry/queue");
    corekit::DeclareData(L"/etc/host-entry/tasks");
    EXPECT_TRUE(IsHostDirectory(L"/etc/host-entry/queue"));  // no place for data
    fs::remove_all("/etc/host-entry");
    corekit::ForgetOwn();
}

// A client.conf may lie directly in one, or in the root.
TEST(HostDirectories, AreNotOwnForLyingInADirectoryThatIsDeclared) {
    fs::create_directories("/var/lib/host-entry/below");
    for (const wchar_t* declared : {L"/", L"/var", L"/var/lib"}) {
        corekit::DeclareOwn(declared);
        EXPECT_TRUE(IsHostDirectory(L"/var/lib/host-entry/below")) << declared;
    }
    corekit::ForgetOwn();
    fs::remove_all("/var/lib/host-entry");
}

TEST(HostDirectories, HoldTheHomesOfUsersButNotWhatIsInThem) {
    EXPECT_TRUE(NamesHost(L"/home/somebody"));
    const Workspace root;
    fs::create_directories(root / "home/somebody/agent");
    WithRoot(root.Path(), [] {
        EXPECT_TRUE(IsHostDirectory(L"/home/somebody"));
        EXPECT_FALSE(IsHostDirectory(L"/home/somebody/agent"));
    });
}

TEST(HostDirectories, AreNoPlaceToInstallTo) {
    for (const wchar_t* path : {L"/", L"/usr", L"/usr/bin", L"/etc", L"/home", L"/var/lib", L"/bin"})
        EXPECT_EQ(corekit::CheckInstallable(path), corekit::Result(EPERM)) << path;
    for (const wchar_t* path : {L"/opt/zorvane", L"/usr/share/zorvane", L"/srv/agent"})
        EXPECT_TRUE(corekit::CheckInstallable(path)) << path;
}

// guid_guid_file=/lib64 with an identifier would leave a host on which no program starts any more.
TEST(HostDirectories, NoNameOfTheHostIsWrittenRenamedOrLinkedOver) {
    const Workspace root;
    fs::create_directories(root / "usr/lib64");
    fs::create_directories(root / "opt");
    fs::create_symlink("usr/lib64", root / "lib64");
    testfiles::Write(root / "etc/passwd", "root");
    testfiles::Write(root / "opt/file", "x");
    WithRoot(root.Path(), [] {
        const corekit::Result refused(EPERM);
        namespace File = corekit::File;
        for (const wchar_t* path : {L"/lib64", L"/etc/passwd", L"/bin", L"/usr/../lib64", L"//lib64/"}) {
            EXPECT_EQ(File::Write(path, L"x"), refused) << path;
            EXPECT_EQ(File::Copy(L"/opt/file", path), refused) << path;
            EXPECT_EQ(File::Rename(L"/opt/file", path), refused) << path;
            EXPECT_EQ(File::Remove(path), refused) << path;
            EXPECT_EQ(File::RemoveAny(path), refused) << path;
        }
        EXPECT_EQ(File::Rename(L"/lib64", L"/opt/lib64"), refused);
        EXPECT_EQ(File::SymLink(L"/opt/file", L"/lib64"), refused);
        EXPECT_TRUE(File::Write(L"/etc/passwd", L"edited", {.hostDirectory = corekit::HostDirectory::Meant}));
        EXPECT_TRUE(File::Write(L"/opt/new", L"x"));
    });
    EXPECT_TRUE(fs::is_symlink(root / "lib64"));
    EXPECT_EQ(testfiles::Read(root / "opt/file"), "x");
    EXPECT_EQ(testfiles::Read(root / "etc/passwd"), "edited");
}

TEST(HostDirectories, ALinkToAFileOfTheHostIsNotRemovedAsADirectory) {
    const Workspace work;
    const std::string theirs = work / "theirs";
    const std::string ours = work / "ours";
    testfiles::Write(work / "own", "");
    fs::create_symlink("/etc/passwd", theirs);
    fs::create_symlink("own", ours);
    using corekit::Dir;
    EXPECT_EQ(Dir::Remove(corekit::String::FromUtf8(theirs + "/")), corekit::Result(EPERM));
    EXPECT_TRUE(Dir::Remove(corekit::String::FromUtf8(ours + "/")));
    EXPECT_TRUE(fs::is_symlink(theirs));
    EXPECT_FALSE(fs::is_symlink(ours));
    EXPECT_TRUE(testfiles::Exists(work / "own"));
}

TEST(HostDirectories, ALinkOfTheHostIsRemoved_OnlyWhereThatIsMeant) {
    fs::create_symlink("true", "/usr/bin/host-link");
    namespace File = corekit::File;
    EXPECT_EQ(File::Remove(L"/usr/bin/host-link"), corekit::Result(EPERM));
    EXPECT_EQ(File::RemoveEx(L"/bin/host-link"), corekit::Result(EPERM));
    EXPECT_EQ(corekit::Dir::Remove(L"/usr/bin/host-link/"), corekit::Result(EPERM));
    EXPECT_EQ(File::Remove(L"/dev/null"), corekit::Result(EPERM));
    EXPECT_TRUE(fs::is_symlink("/usr/bin/host-link"));
    EXPECT_TRUE(File::Remove(L"/usr/bin/host-link", corekit::HostDirectory::Meant));
    EXPECT_FALSE(fs::is_symlink("/usr/bin/host-link"));
}
