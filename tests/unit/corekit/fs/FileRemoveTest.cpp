// Removing files by name and by wildcard.
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "corekit/fs/File.h"
#include "tests/support/InChild.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/Mount.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::HostDirectory;
using corekit::Result;
using corekit::String;
using testfiles::NamesIn;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testsupport::Mount;
using testsupport::Workspace;

namespace File = corekit::File;
namespace fs = std::filesystem;

namespace {

void Make(const Workspace& dir, const std::vector<std::string>& names) {
    for (const auto& name : names) testfiles::Write(dir / name, "");
}

}  // namespace

TEST(FileRemove, RemovesFilesAndLinksThemselves) {
    const Workspace dir;
    Make(dir, {"file", "kept"});
    fs::create_symlink("kept", dir / "link");
    fs::create_symlink("/etc", dir / "etc");
    EXPECT_TRUE(File::Remove(dir("file")));
    EXPECT_TRUE(File::Remove(dir("link")));
    EXPECT_TRUE(File::Remove(dir("etc")));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("kept"));
}

TEST(FileRemove, RefusesDirectories) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    EXPECT_EQ(File::Remove(dir("sub")), Result(EISDIR));
    EXPECT_EQ(File::Remove(dir("sub/..")), Result(EISDIR));
    EXPECT_EQ(File::Remove(L"/"), Result(EISDIR));
    EXPECT_EQ(File::Remove(dir("none")), Result(ENOENT));
    EXPECT_EQ(File::Remove(L""), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("sub"));
}

TEST(FileRemove, NeverCutsAPathAtANul) {
    const Workspace dir;
    Make(dir, {"file"});
    EXPECT_EQ(File::Remove(dir("file") + std::wstring(1, L'\0') + L".bak"), Result(ENOENT));
    EXPECT_TRUE(testfiles::Exists(dir / "file"));
}

TEST(FileRemove, LeavesTheNamesOfTheHost) {
    const Workspace root;
    fs::create_directories(root / "usr/lib");
    fs::create_symlink("usr/lib", root / "lib");
    testsupport::WithRoot(root.Path(), [] {
        EXPECT_EQ(File::Remove(L"/lib"), Result(EPERM));
        EXPECT_EQ(File::RemoveEx(L"/lib"), Result(EPERM));
        EXPECT_EQ(File::RemoveEx(L"/li*", HostDirectory::Meant), Result(EPERM));
    });
    EXPECT_TRUE(testfiles::Exists(root / "lib"));
}

TEST(FileRemoveAny, RemovesFilesLinksAndTrees) {
    const Workspace dir;
    Make(dir, {"file", "*", "kept"});
    testfiles::Write(dir / "tree/deep/file", "");
    fs::create_directory_symlink("/etc", dir / "link");
    for (const char* name : {"file", "*", "tree", "link"}) EXPECT_TRUE(File::RemoveAny(dir(name))) << name;
    EXPECT_EQ(File::RemoveAny(dir("none")), Result(ENOENT));
    EXPECT_EQ(File::RemoveAny(L""), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("kept"));
    EXPECT_TRUE(fs::exists("/etc/passwd"));
}

TEST(FileRemoveAny, LeavesWhatIsMountedAndWhatIsTheHosts) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "mounted");
    testfiles::Write(dir / "mounted/file", "");
    EXPECT_EQ(File::RemoveAny(dir("mounted")), Result(EBUSY));
    EXPECT_THAT(NamesIn(dir / "mounted"), ElementsAre("file"));
    for (const wchar_t* path : {L"/usr", L"//usr/", L"/opt/../etc", L"/lib"})
        EXPECT_EQ(File::RemoveAny(path), Result(EPERM)) << path;
}

TEST(FileRemoveAny, MissesNothingOnAReadOnlyFileSystemButWhatIsThere) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "mounted");
    testfiles::Write(dir / "mounted/file", "");
    mount.MakeReadOnly();
    for (const auto& remove : {File::Remove, File::RemoveAny, File::RemoveEx}) {
        EXPECT_EQ(remove(dir("mounted/file"), HostDirectory::Refused), Result(EROFS));
        EXPECT_EQ(remove(dir("mounted/none"), HostDirectory::Refused), Result(ENOENT));
    }
}

TEST(FileRemoveEx, ExpandsStarsQuestionMarksAndClasses) {
    struct Row {
        const char* pattern;
        std::vector<std::string> left;
    };
    const std::vector<Row> rows = {
        {"*", {".hidden"}},
        {"*.kse", {"a1", "b.ksi1", "[x]", "x\\y", ".hidden", "log.123456", "log.12345"}},
        {"*.ksi*", {"a.kse", "b.kse", "a1", "[x]", "x\\y", ".hidden", "log.123456", "log.12345"}},
        {"*.??????", {"a.kse", "b.kse", "a1", "b.ksi1", "[x]", "x\\y", ".hidden", "log.12345"}},
        {"[a]*", {"b.kse", "b.ksi1", "[x]", "x\\y", ".hidden", "log.123456", "log.12345"}},
        {"[!a]*", {"a.kse", "a1", ".hidden"}},
        {"?[0-9]", {"a.kse", "b.kse", "b.ksi1", "[x]", "x\\y", ".hidden", "log.123456", "log.12345"}},
        {"x\\?", {"a.kse", "b.kse", "a1", "b.ksi1", "[x]", ".hidden", "log.123456", "log.12345"}},
        {".h*", {"a.kse", "b.kse", "a1", "b.ksi1", "[x]", "x\\y", "log.123456", "log.12345"}},
        {"none*", {"a.kse", "b.kse", "a1", "b.ksi1", "[x]", "x\\y", ".hidden", "log.123456", "log.12345"}},
    };
    for (const Row& row : rows) {
        const Workspace dir;
        Make(dir, {"a.kse", "b.kse", "a1", "b.ksi1", "[x]", "x\\y", ".hidden", "log.123456", "log.12345"});
        EXPECT_TRUE(File::RemoveEx(dir(row.pattern))) << row.pattern;
        EXPECT_THAT(NamesIn(dir.Path()), testing::UnorderedElementsAreArray(row.left)) << row.pattern;
    }
}

TEST(FileRemoveEx, RemovesTheOneEntryThatAPlainNameMeans) {
    const Workspace dir;
    Make(dir, {"file", "file.bak", "tree/deep/file"});
    EXPECT_TRUE(File::RemoveEx(dir("file")));
    EXPECT_TRUE(File::RemoveEx(dir("tree")));
    EXPECT_EQ(File::RemoveEx(dir("none")), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file.bak"));
}

TEST(FileRemoveEx, RemovesMatchingDirectoriesAsTrees) {
    const Workspace dir;
    const std::string guid = "{0123ABCD-0000-1111-2222-0123456789ab}";
    Make(dir, {guid + "/deep/file", "{0123ABCD}/file", "kept/file"});
    fs::create_symlink("kept", dir / "{link}");
    EXPECT_TRUE(File::RemoveEx(dir("{[a-fA-F0-9][a-fA-F0-9]*-*}")));
    EXPECT_THAT(NamesIn(dir.Path()), UnorderedElementsAre("{0123ABCD}", "kept", "{link}"));
    EXPECT_TRUE(File::RemoveEx(dir("{*}")));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("kept"));
    EXPECT_TRUE(testfiles::Exists(dir / "kept/file"));
}

TEST(FileRemoveEx, TakesTheDirectoryLiterally) {
    const Workspace dir;
    Make(dir, {"q*/a.kse", "queue/a.kse"});
    EXPECT_TRUE(File::RemoveEx(dir("q*/*.kse")));
    EXPECT_THAT(NamesIn(dir / "q*"), IsEmpty());
    EXPECT_THAT(NamesIn(dir / "queue"), ElementsAre("a.kse"));
    EXPECT_EQ(File::RemoveEx(dir("[q]ueue/*.kse")), Result(ENOENT));
}

TEST(FileRemoveEx, WorksInTheCurrentDirectory) {
    const Workspace dir;
    Make(dir, {"a.kse", "b"});
    fs::current_path(dir.Path());
    EXPECT_TRUE(File::RemoveEx(L"*.kse"));
    fs::current_path("/");
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("b"));
}

TEST(FileRemoveEx, DoesNothingWithoutAName) {
    const Workspace dir;
    Make(dir, {"a"});
    fs::current_path(dir.Path());
    EXPECT_TRUE(File::RemoveEx(L""));
    EXPECT_EQ(File::RemoveEx(L"./"), Result(EINVAL));
    EXPECT_EQ(File::RemoveEx(L"."), Result(EISDIR));
    EXPECT_EQ(File::RemoveEx(L".."), Result(EISDIR));
    EXPECT_EQ(File::RemoveEx(dir("") + std::wstring(1, L'\0') + L"*"), Result(ENOENT));
    fs::current_path("/");
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("a"));
}

TEST(FileRemoveEx, ExpandsInAHostDirectory_OnlyWhereItIsMeant) {
    const Workspace dir;
    fs::create_symlink("/usr/bin", dir / "link");
    testfiles::Write("/usr/bin/zorvane-test-1", "");
    testfiles::Write("/usr/bin/zorvane-test-2", "");
    EXPECT_EQ(File::RemoveEx(L"/usr/bin/zorvane-test-*"), Result(EPERM));
    EXPECT_EQ(File::RemoveEx(dir("link/zorvane-test-*")), Result(EPERM));
    fs::current_path("/usr/bin");
    EXPECT_EQ(File::RemoveEx(L"zorvane-test-*"), Result(EPERM));
    fs::current_path("/");
    EXPECT_TRUE(testfiles::Exists("/usr/bin/zorvane-test-1"));
    EXPECT_TRUE(File::RemoveEx(L"/usr/bin/zorvane-test-1"));
    EXPECT_FALSE(testfiles::Exists("/usr/bin/zorvane-test-1"));
    EXPECT_TRUE(File::RemoveEx(L"/usr/bin/zorvane-test-*", HostDirectory::Meant));
    EXPECT_FALSE(testfiles::Exists("/usr/bin/zorvane-test-2"));
}

TEST(FileRemoveEx, NeverRemovesAHostDirectory) {
    EXPECT_EQ(File::RemoveEx(L"/usr"), Result(EPERM));
    EXPECT_EQ(File::RemoveEx(L"/us[r]", HostDirectory::Meant), Result(EPERM));
    EXPECT_EQ(File::RemoveEx(L"/opt/../var"), Result(EPERM));
    EXPECT_TRUE(fs::is_directory("/usr/bin"));
}

TEST(FileRemoveEx, GoesOnAfterAFailure) {
    const Workspace dir;
    Make(dir, {"a1", "a2/kept", "a3", "other"});
    const Mount mount = Mount::Bind(dir / "other", dir / "a1");
    const Mount mountedTree = Mount::Tmpfs(dir / "a2");
    testfiles::Write(dir / "a2/mounted", "");
    EXPECT_EQ(File::RemoveEx(dir("a*")), Result(EBUSY));
    EXPECT_THAT(NamesIn(dir.Path()), UnorderedElementsAre("a1", "a2", "other"));
    EXPECT_TRUE(testfiles::Exists(dir / "a2/mounted"));
}

// Entries are removed in the order of their inodes.
TEST(FileRemoveEx, TellsTheFirstOfTwoFailuresThatWeighTheSame) {
    const Workspace dir;
    Make(dir, {"a1", "a2"});
    testsupport::InChild([&] {
        testsupport::JudgeCalls({SYS_unlinkat}, [](const seccomp_notif& call) -> testsupport::Verdict {
            const std::string name = reinterpret_cast<const char*>(call.data.args[1]);
            return name == "a1" ? -EIO : -ENOMEM;
        });
        struct stat one {};
        struct stat two {};
        EXPECT_EQ(stat((dir / "a1").c_str(), &one), 0);
        EXPECT_EQ(stat((dir / "a2").c_str(), &two), 0);
        EXPECT_EQ(File::RemoveEx(dir("a*")), Result(one.st_ino < two.st_ino ? EIO : ENOMEM));
        return 0;
    });
}

TEST(FileRemoveEx, RemovesMoreThanFitsIntoItsMemory) {
    const Workspace dir;
    const std::string filler(200, 'f');
    for (int i = 0; i < 30000; ++i) fs::create_symlink("x", dir / (std::to_string(i) + filler));
    Make(dir, {"kept"});
    EXPECT_TRUE(File::RemoveEx(dir("*f")));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("kept"));
}
