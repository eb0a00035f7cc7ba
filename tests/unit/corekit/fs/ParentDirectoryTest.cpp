// Where paths point.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "corekit/fs/ParentDirectory.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::ParentDirectory;
using corekit::Result;
using corekit::String;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

ino_t InodeOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
    return info.st_ino;
}

void ExpectPlace(const String& path, const std::string& directory, const std::string& name) {
    const auto place = ParentDirectory::Of(path);
    ASSERT_TRUE(place) << path.Utf8();
    EXPECT_EQ(place->name, name);
    EXPECT_EQ(place->At().name, name);
    struct stat info {};
    ASSERT_EQ(fstat(place->At().directory, &info), 0);
    EXPECT_EQ(info.st_ino, InodeOf(directory)) << path.Utf8();
}

}  // namespace

TEST(ParentDirectory, HoldsTheDirectoryAndTheName) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    fs::create_directory_symlink("sub", dir / "link");
    ExpectPlace(dir("sub/new"), dir / "sub", "new");
    ExpectPlace(dir("link/new"), dir / "sub", "new");
    ExpectPlace(dir("link"), dir.Path(), "link");
    ExpectPlace(dir("link///"), dir.Path(), "link");
    ExpectPlace(dir("sub/..//..x"), dir.Path(), "..x");
    ExpectPlace(L"/etc", "/", "etc");
    fs::current_path(dir.Path());
    ExpectPlace(L"new", dir.Path(), "new");
    ExpectPlace(L"./new/", dir.Path(), "new");
    ExpectPlace(L"../new", "/tmp", "new");
    fs::current_path("/");
}

TEST(ParentDirectory, IsNoneOfPathsThatNameNoEntry) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    EXPECT_EQ(ParentDirectory::Of(L""), Result(ENOENT));
    EXPECT_EQ(ParentDirectory::Of(std::wstring(L"/tmp/a\0b", 8)), Result(ENOENT));
    for (const wchar_t* path : {L"/", L"//", L".", L"..", L"/tmp/.", L"/tmp/..", L"./"})
        EXPECT_EQ(ParentDirectory::Of(path), Result(EISDIR)) << String(path).Utf8();
    EXPECT_EQ(ParentDirectory::Of(dir("none/x")), Result(ENOENT));
    EXPECT_EQ(ParentDirectory::Of(dir("file/x")), Result(ENOTDIR));
}
