// Entries that are put back as they were.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "corekit/fs/Keeping.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/Workspace.h"

using corekit::Result;
using testfiles::Mode;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace fs = std::filesystem;
namespace Keeping = corekit::Keeping;

namespace {

constexpr unsigned kOther = 12345;

struct stat InfoOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(lstat(path.c_str(), &info), 0) << path;
    return info;
}

}  // namespace

TEST(Keeping, GivesAnEntryItsOwnerAndThenItsMode) {
    const Workspace dir;
    testfiles::Write(dir / "file", "", 0644);
    fs::create_symlink("file", dir / "link");
    if (!Keeping::SetAccess(dir("file"), 04755, kOther, kOther)) return;  // not root's machine
    EXPECT_EQ(InfoOf(dir / "file").st_uid, kOther);
    EXPECT_EQ(InfoOf(dir / "file").st_gid, kOther);
    EXPECT_EQ(Mode(dir / "file"), 04755U) << "a change of the owner clears bits";
    EXPECT_TRUE(Keeping::SetAccess(dir("file"), 0600, kOther, 0));
    EXPECT_EQ(InfoOf(dir / "file").st_gid, 0U);
    EXPECT_EQ(Mode(dir / "file"), 0600U);
    EXPECT_TRUE(Keeping::SetAccess(dir("link"), 0777, 0, kOther));
    EXPECT_EQ(InfoOf(dir / "link").st_gid, kOther);
    EXPECT_EQ(InfoOf(dir / "file").st_gid, 0U);
    EXPECT_EQ(Mode(dir / "file"), 0600U);
}

TEST(Keeping, GivesNoModeToAnEntryThatDoesNotGetItsOwner) {
    const Workspace dir;
    testfiles::Write(dir / "file", "", 0600);
    WithFailing({{SYS_fchownat, EPERM}}, [&] {
        const Result refused = Keeping::SetAccess(dir("file"), 04755, kOther, kOther);
        EXPECT_EQ(refused, Result(EPERM));
        EXPECT_EQ(refused.Path(), dir("file"));
        return 0;
    });
    EXPECT_EQ(Mode(dir / "file"), 0600U);
    WithFailing({{SYS_fchownat, EPERM}}, [&] {
        EXPECT_TRUE(Keeping::SetAccess(dir("file"), 0640, 0, 0)) << "it has this owner already";
        return 0;
    });
    EXPECT_EQ(Mode(dir / "file"), 0640U);
    EXPECT_EQ(Keeping::SetAccess(dir("none"), 0600, 0, 0).Path(), dir("none"));
}

TEST(Keeping, LeavesOutAttributesThatTheFileSystemLacks) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    EXPECT_TRUE(Keeping::SetAttributes(dir("file"), {{"nonsense", "x"}, {"user.note", "kept"}}));
    EXPECT_EQ(testfiles::Attribute(dir / "file", "user.note"), "kept");
    const Result missing = Keeping::SetAttributes(dir("none"), {{"user.note", "kept"}});
    EXPECT_EQ(missing, Result(ENOENT));
    EXPECT_EQ(missing.Path(), dir("none"));
}

TEST(Keeping, RemovesAnAttributeThatIsThere) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    testfiles::SetAttribute(dir / "file", "user.note", "x");
    EXPECT_TRUE(Keeping::RemoveAttribute(dir("file"), "user.note"));
    EXPECT_EQ(testfiles::Attribute(dir / "file", "user.note"), "none");
    EXPECT_TRUE(Keeping::RemoveAttribute(dir("file"), "user.note"));
    const Result missing = Keeping::RemoveAttribute(dir("none"), "user.note");
    EXPECT_EQ(missing, Result(ENOENT));
    EXPECT_EQ(missing.Path(), dir("none"));
    EXPECT_EQ(WithFailing({{SYS_lremovexattr, EIO}},
                          [&] { return Keeping::RemoveAttribute(dir("file"), "user.note").Code(); }),
              EIO);
}
