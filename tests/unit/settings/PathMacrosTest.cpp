// Paths in settings: macros, absolute forms, and the move to another install directory.
#include <filesystem>
#include <gtest/gtest.h>

#include "settings/PathMacros.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

TEST(ExpandPathMacros, ReplacesBothMacrosEverywhere) {
    const struct {
        const wchar_t* text;
        const wchar_t* expanded;
    } table[] = {
        {L"", L""},
        {L"/plain", L"/plain"},
        {L"%ETCDIR%/x", L"/opt/a/etc/x"},
        {L"%INSTDIR%%INSTDIR%", L"/opt/a/opt/a"},
        {L"%ETCDIR%:%INSTDIR%/var:%ETCDIR%", L"/opt/a/etc:/opt/a/var:/opt/a/etc"},
        {L"%instdir%/x %EtcDir%", L"%instdir%/x %EtcDir%"},
        {L"%INSTDIR", L"%INSTDIR"},
        {L"%BINDIR%/x", L"%BINDIR%/x"},
        {L"%%INSTDIR%%", L"%/opt/a%"},
        {L"a\n%INSTDIR%\n", L"a\n/opt/a\n"},
    };
    for (const auto& row : table) EXPECT_EQ(ExpandPathMacros(row.text, L"/opt/a"), row.expanded) << row.text;
}

TEST(ExpandPathMacros, DoesNotLookAtTheInstallDirectoryAgain) {
    EXPECT_EQ(ExpandPathMacros(L"%INSTDIR%/x", L"/opt/%INSTDIR%/%ETCDIR%"), L"/opt/%INSTDIR%/%ETCDIR%/x");
    EXPECT_EQ(ExpandPathMacros(L"%ETCDIR%", L""), L"/etc");
}

class MakeAbsolute : public testing::Test {
  protected:
    ~MakeAbsolute() override { std::filesystem::current_path("/"); }
};

TEST_F(MakeAbsolute, ResolvesAgainstTheCurrentDirectory) {
    const testfiles::TempDir dir;
    const String here = String::FromUtf8(dir.Path());
    std::filesystem::current_path(dir.Path());
    EXPECT_EQ(MakeAbsolutePath(L"a/b"), here + L"/a/b");
    EXPECT_EQ(MakeAbsolutePath(L"./a"), here + L"/a");
    EXPECT_EQ(MakeAbsolutePath(L"../a"), L"/tmp/a");
    EXPECT_EQ(MakeAbsolutePath(L"/a/../b"), L"/a/../b");
}

TEST_F(MakeAbsolute, AnEmptyPathIsTheRoot) {
    EXPECT_EQ(MakeAbsolutePath(L""), L"/");
}

TEST_F(MakeAbsolute, ARelativePathIsTheRoot_WhenTheCurrentDirectoryIsGone) {
    {
        const testfiles::TempDir dir;
        std::filesystem::current_path(dir.Path());
    }
    EXPECT_EQ(MakeAbsolutePath(L"a"), L"/");
    EXPECT_EQ(MakeAbsolutePath(L"/a"), L"/a");
}

TEST(RebasePath, MovesWhatIsThePrefixOrLiesBelowIt) {
    const struct {
        const wchar_t* path;
        const wchar_t* oldPrefix;
        const wchar_t* newPrefix;
        const wchar_t* rebased;
    } table[] = {
        {L"/old/a", L"/old", L"/new", L"/new/a"},
        {L"/old", L"/old", L"/new", L"/new/"},
        {L"/old/", L"/old", L"/new", L"/new/"},
        {L"/old/a//b", L"/old", L"/new", L"/new/a/b"},
        {L"/old/a", L"/old/", L"/new", L"/new/a"},
        {L"/old/a", L"/old", L"/new/", L"/new//a"},
        {L"/old/a", L"/old", L"/old", L"/old/a"},
        {L"/old/a", L"/old", L"", L"/a"},
        {L"/other/a", L"/old", L"/new", L"/other/a"},
        {L"/older/a", L"/old", L"/new", L"/older/a"},
        {L"/Old/a", L"/old", L"/new", L"/Old/a"},
        {L"/ol", L"/old", L"/new", L"/ol"},
        {L"", L"/old", L"/new", L""},
        {L"/old/a", L"", L"/new", L"/old/a"},
        {L"a//b", L"", L"/new", L"a//b"},
        {L"/other//a", L"/old", L"/new", L"/other//a"},
        {L"/old/a", L"/", L"/new", L"/old/a"},
        {L"/old/a", L"//", L"/new", L"/old/a"},
        {L"/", L"/", L"/new", L"/"},
    };
    for (const auto& row : table) {
        String path = row.path;
        RebasePath(path, row.oldPrefix, row.newPrefix);
        EXPECT_EQ(path, row.rebased) << String(row.path).Utf8() << " from " << String(row.oldPrefix).Utf8();
    }
}

TEST(EnsureTrailingChar, TrimsTheRightEndAndAppendsTheCharacterOnce) {
    const struct {
        const wchar_t* text;
        const wchar_t* ensured;
    } table[] = {
        {L"/a", L"/a/"}, {L"/a/", L"/a/"}, {L"/a \t\n", L"/a/"}, {L"/a/ ", L"/a/"},
        {L" a", L" a/"}, {L"", L""},       {L"  ", L""},         {L"/", L"/"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.text);
        String text = row.text;
        EnsureTrailingChar(text, L'/');
        EXPECT_EQ(text, row.ensured);
    }
}

TEST(FileBelow, JoinsDirectoryAndNameWithOneSlash) {
    EXPECT_EQ(FileBelow(L"/opt/a/etc", L"host.GUID"), L"/opt/a/etc/host.GUID");
    EXPECT_EQ(FileBelow(L"/opt/a/etc/", L"host.GUID"), L"/opt/a/etc/host.GUID");
    EXPECT_EQ(FileBelow(L"", L"host.GUID"), L"/host.GUID");
    EXPECT_EQ(FileBelow(L"/", L"x"), L"/x");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
