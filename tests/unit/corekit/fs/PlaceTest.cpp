// Where paths point.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "corekit/fs/Place.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::Place;
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
    Place place;
    ASSERT_TRUE(Place::Of(path, place)) << path.Utf8();
    EXPECT_EQ(place.name, name);
    EXPECT_EQ(place.At().name, name);
    struct stat info {};
    ASSERT_EQ(fstat(place.At().directory, &info), 0);
    EXPECT_EQ(info.st_ino, InodeOf(directory)) << path.Utf8();
}

}  // namespace

TEST(Place, HoldsTheDirectoryAndTheName) {
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

TEST(Place, IsNoneOfPathsThatNameNoEntry) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    Place place;
    EXPECT_EQ(Place::Of(L"", place), Result(ENOENT));
    EXPECT_EQ(Place::Of(std::wstring(L"/tmp/a\0b", 8), place), Result(ENOENT));
    for (const wchar_t* path : {L"/", L"//", L".", L"..", L"/tmp/.", L"/tmp/..", L"./"})
        EXPECT_EQ(Place::Of(path, place), Result(EISDIR)) << String(path).Utf8();
    EXPECT_EQ(Place::Of(dir("none/x"), place), Result(ENOENT));
    EXPECT_EQ(Place::Of(dir("file/x"), place), Result(ENOTDIR));
}
