// The parts of paths, absolute forms, and which paths name the same place.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include "corekit/fs/Path.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/Workspace.h"

using corekit::Result;
using corekit::String;
using testsupport::Mount;
using testsupport::Workspace;

namespace fs = std::filesystem;
namespace Path = corekit::Path;

namespace {

/// Puts the process into a directory until the end of the scope.
class CurrentDirectory {
  public:
    explicit CurrentDirectory(const std::string& path) { fs::current_path(path); }
    ~CurrentDirectory() { fs::current_path("/"); }
};

String Absolute(const String& path) {
    return Path::MakeAbsolute(path).value_or(L"(a failure)");
}

}  // namespace

TEST(PathParts, SplitsAtTheLastSlash) {
    struct Row {
        const wchar_t* path;
        const wchar_t* directory;
        const wchar_t* name;
    };
    for (const Row& row : {Row{L"/opt/a/b", L"/opt/a", L"b"}, Row{L"/a", L"/", L"a"}, Row{L"a", L"", L"a"},
                           Row{L"a/b", L"a", L"b"}, Row{L"a/", L"a", L""}, Row{L"/", L"/", L""},
                           Row{L"", L"", L""}, Row{L"/opt//a", L"/opt/", L"a"}, Row{L"./a", L".", L"a"},
                           Row{L"\u00E4/\u00F6", L"\u00E4", L"\u00F6"}}) {
        EXPECT_EQ(Path::GetDirectory(row.path), row.directory) << String(row.path).Utf8();
        EXPECT_EQ(Path::GetFileName(row.path), row.name) << String(row.path).Utf8();
    }
}

TEST(PathJoin, PutsOneSlashBetweenDirectoryAndName) {
    struct Row {
        const wchar_t* directory;
        const wchar_t* name;
        const wchar_t* joined;
    };
    for (const Row& row :
         {Row{L"/opt", L"a", L"/opt/a"}, Row{L"/opt/", L"a", L"/opt/a"}, Row{L"/opt//", L"//a", L"/opt/a"},
          Row{L"/", L"a", L"/a"}, Row{L"", L"a", L"a"}, Row{L"", L"/a", L"/a"}, Row{L"a", L"b/c", L"a/b/c"},
          Row{L"/opt", L"", L"/opt/"}}) {
        SCOPED_TRACE(row.directory);
        EXPECT_EQ(Path::Join(row.directory, row.name), row.joined);
    }
}

TEST(PathEnd, LosesItsSlashes) {
    const struct {
        const wchar_t* path;
        const wchar_t* withoutSlashes;
        const wchar_t* withoutDots;
    } table[] = {
        {L"/a/b", L"/a/b", L"/a/b"},
        {L"/a/b///", L"/a/b", L"/a/b"},
        {L"/", L"/", L"/"},
        {L"///", L"/", L"/"},
        {L"", L"", L""},
        {L"a/", L"a", L"a"},
        {L"/a//b/", L"/a//b", L"/a//b"},
        {L"/a/.", L"/a/.", L"/a"},
        {L"/a/.//./", L"/a/.//.", L"/a"},
        {L"/a/..", L"/a/..", L"/a/.."},
        {L"/a.", L"/a.", L"/a."},
        {L"/.", L"/.", L"/"},
        {L"/././", L"/./.", L"/"},
        {L".", L".", L"."},
        {L"./.", L"./.", L"."},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(Path::WithoutTrailingSlashes(row.path), row.withoutSlashes);
        EXPECT_EQ(Path::WithoutTrailingDots(row.path), row.withoutDots);
    }
}

TEST(MakeAbsolute, LeavesAbsolutePathsAsTheyAre) {
    for (const wchar_t* path : {L"/", L"//a//b/", L"/a/../b/.", L"/a b\n"}) EXPECT_EQ(Absolute(path), path);
}

TEST(MakeAbsolute, ResolvesLeadingDotsAgainstTheCurrentDirectory) {
    fs::create_directories("/opt/one/two");
    const CurrentDirectory inside("/opt/one/two");
    struct Row {
        const wchar_t* path;
        const wchar_t* absolute;
    };
    for (const Row& row :
         {Row{L"a", L"/opt/one/two/a"}, Row{L"./a", L"/opt/one/two/a"}, Row{L".", L"/opt/one/two"},
          Row{L"./", L"/opt/one/two"}, Row{L"..", L"/opt/one"}, Row{L"../a", L"/opt/one/a"},
          Row{L"../../a/../b/", L"/opt/a/../b/"}, Row{L"./..//./a", L"/opt/one/a"},
          Row{L"../../../../..", L"/"}, Row{L"../../../../a", L"/a"}, Row{L"...", L"/opt/one/two/..."},
          Row{L".a", L"/opt/one/two/.a"}, Row{L"..a", L"/opt/one/two/..a"}}) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(Absolute(row.path), row.absolute);
    }
}

TEST(MakeAbsolute, FailsForAnEmptyPath) {
    EXPECT_EQ(Path::MakeAbsolute(L""), Result(ENOENT));
}

TEST(MakeAbsolute, FailsInADirectoryThatIsGone) {
    fs::create_directories("/opt/gone");
    const CurrentDirectory inside("/opt/gone");
    fs::remove("/opt/gone");
    EXPECT_EQ(Path::MakeAbsolute(L"a"), Result(ENOENT));
    EXPECT_EQ(Path::Resolve(L"a"), L"a");
    EXPECT_EQ(Absolute(L"/a"), L"/a");
}

TEST(Canonicalise, ResolvesLinksAndDots) {
    const Workspace dir;
    testfiles::Write(dir / "real/file", "");
    fs::create_symlink("real", dir / "link");
    EXPECT_EQ(Path::Canonicalise(dir("link/../link//./file")).value(), dir("real/file"));
}

TEST(Canonicalise, FailsForWhatDoesNotExist) {
    const Workspace dir;
    fs::create_symlink("nowhere", dir / "dangling");
    EXPECT_EQ(Path::Canonicalise(dir("nowhere")), Result(ENOENT));
    EXPECT_EQ(Path::Canonicalise(dir("dangling")), Result(ENOENT));
    EXPECT_EQ(Path::Canonicalise(L""), Result(ENOENT));
}

TEST(Canonicalise, GivesAPathWithANulToNoSystemCall) {
    const Workspace dir;
    EXPECT_EQ(Path::Canonicalise(dir("") + std::wstring(1, L'\0') + L"x"), Result(ENOENT));
}

TEST(Resolve, GoesOnAsText_WhereThePathIsMissing) {
    const Workspace dir;
    fs::create_directory(dir / "real");
    fs::create_symlink("real", dir / "link");
    EXPECT_EQ(Path::Resolve(dir("link/new/./x//y/../z/")), dir("real/new/x/z"));
    EXPECT_EQ(Path::Resolve(dir("missing/../link/new")), dir("real/new"));
    EXPECT_EQ(Path::Resolve(L"/../../missing"), L"/missing");
    EXPECT_EQ(Path::Resolve(L""), L"");
}

TEST(PathIsMatch, ComparesWhereThePathsLead) {
    const Workspace dir;
    testfiles::Write(dir / "real/file", "");
    fs::create_symlink("real", dir / "link");
    fs::create_symlink("file", dir / "real/alias");
    const CurrentDirectory inside(dir.Path());
    EXPECT_TRUE(Path::IsMatch(dir("real"), dir("link/")));
    EXPECT_TRUE(Path::IsMatch(dir("real"), L"./link/../real//"));
    EXPECT_TRUE(Path::IsMatch(dir("real/file"), dir("link/alias")));
    EXPECT_FALSE(Path::IsMatch(dir("real"), dir("real/file")));
    EXPECT_FALSE(Path::IsMatch(dir("real"), dir("")));
}

TEST(PathIsMatch, IsTrueForTheSameText_WhateverFails) {
    const auto isMatch = [] { return Path::IsMatch(L"/usr", L"/usr//") ? 1 : 0; };
    EXPECT_EQ(testsupport::WithFailing({{SYS_newfstatat, EIO}, {SYS_openat2, EIO}}, isMatch), 1);
}

TEST(PathIsMatch, IsFalse_ForTwoNamesOfAFile) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    fs::create_hard_link(dir / "file", dir / "second");
    EXPECT_FALSE(Path::IsMatch(dir("file"), dir("second")));
    EXPECT_TRUE(Path::IsMatch(dir("file"), dir("./file")));
}

TEST(PathIsMatch, ComparesMissingPathsAsText) {
    EXPECT_TRUE(Path::IsMatch(L"/none/a", L"//none//a/"));
    EXPECT_FALSE(Path::IsMatch(L"/none/a", L"/none/ab"));
    EXPECT_FALSE(Path::IsMatch(L"/none/a", L"/none/A"));
}

TEST(PathIsMatch, IsTrue_ForADirectoryThatIsMountedTwice) {
    const Workspace dir;
    fs::create_directories(dir / "one/below");
    fs::create_directory(dir / "two");
    const Mount mount = Mount::Bind(dir / "one", dir / "two");
    EXPECT_TRUE(Path::IsMatch(dir("one"), dir("two")));
    EXPECT_TRUE(Path::IsWithin(dir("two/below/new"), dir("one")));
}

TEST(PathIsMatch, TakesAnEmptyPathForNoPlace) {
    EXPECT_FALSE(Path::IsMatch(L"", L""));
    EXPECT_FALSE(Path::IsMatch(L"", L"."));
    EXPECT_FALSE(Path::IsMatch(L"/", L""));
}

TEST(PathIsWithin, CoversThePlaceAndAllBelow) {
    const Workspace dir;
    fs::create_directories(dir / "real/sub");
    fs::create_directories(dir / "realm");
    fs::create_symlink("real/sub", dir / "link");
    for (const char* inside : {"real", "real/", "real/sub", "real/new/er", "link", "link/new"})
        EXPECT_TRUE(Path::IsWithin(dir(inside), dir("real"))) << inside;
    for (const char* outside : {"", "realm", "realm/sub", "real/..", "link/../../realm"})
        EXPECT_FALSE(Path::IsWithin(dir(outside), dir("real"))) << outside;
    EXPECT_TRUE(Path::IsWithin(dir("anything"), L"/"));
    EXPECT_TRUE(Path::IsWithin(L"/none/a/b", L"/none//a"));
    EXPECT_FALSE(Path::IsWithin(L"/none/ab", L"/none/a"));
}

TEST(PathIsWithin, HoldsNothingInAnEmptyPath) {
    EXPECT_FALSE(Path::IsWithin(L"/opt", L""));
    EXPECT_FALSE(Path::IsWithin(L"", L"/"));
    EXPECT_FALSE(Path::IsWithin(L"", L""));
}
