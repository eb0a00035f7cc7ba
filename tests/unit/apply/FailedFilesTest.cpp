// What is kept of an attempt that failed, and until when.
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "apply/FailedFiles.h"
#include "corekit/fs/Keeping.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Mount.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Apply {
namespace {

namespace fs = std::filesystem;
using testfiles::Read;
using testfiles::Write;

constexpr const char* kKept = "/var/lib/qdn-configure/failed";

class FailedFiles : public testing::Test {
  protected:
    FailedFiles() { fs::create_directory("/var/lib/qdn-configure"); }
    ~FailedFiles() override {
        fs::remove_all("/var/lib/qdn-configure");
        fs::remove_all("/opt/t");
    }
};

TEST_F(FailedFiles, AreKeptByTheirPaths_WhereOnlyRootGetsToThem) {
    Write("/opt/t/file", "made");
    KeepFailed("/opt/t");
    EXPECT_EQ(Read(std::string(kKept) + "/opt/t/file"), "made");
    EXPECT_EQ(testfiles::Mode(kKept), 0700U);
    EXPECT_TRUE(HasFailedFiles());
    EXPECT_EQ(Read("/opt/t/file"), "made");
}

TEST_F(FailedFiles, AreCopies_WhereAnotherFileSystemHoldsThem) {
    const testsupport::Mount mount = testsupport::Mount::Tmpfs("/opt/t");
    Write("/opt/t/small", std::string(1 << 20, 'x'));
    Write("/opt/t/large", std::string((1 << 20) + 1, 'x'));
    KeepFailed("/opt/t");
    EXPECT_EQ(testfiles::NamesIn(std::string(kKept) + "/opt/t"), std::vector<std::string>{"small"});
    EXPECT_NE(corekit::Keeping::IdentityOf(L"/opt/t/small").value(),
              corekit::Keeping::IdentityOf(L"/var/lib/qdn-configure/failed/opt/t/small").value());
}

TEST_F(FailedFiles, AreTheFirstOfAName) {
    Write("/opt/t/file", "first");
    KeepFailed("/opt/t/file");
    fs::remove("/opt/t/file");
    Write("/opt/t/file", "second");
    KeepFailed("/opt/t/file");
    EXPECT_EQ(Read(std::string(kKept) + "/opt/t/file"), "first");
}

TEST_F(FailedFiles, AreRemovedTogether) {
    EXPECT_TRUE(RemoveFailedFiles());
    Write("/opt/t/dir/file", "made");
    KeepFailed("/opt/t");
    EXPECT_TRUE(RemoveFailedFiles());
    EXPECT_FALSE(HasFailedFiles());
    EXPECT_FALSE(testfiles::Exists(kKept));
}

TEST_F(FailedFiles, AreNotGone_WhenTheyCannotBeRemoved) {
    Write("/opt/t/file", "made");
    KeepFailed("/opt/t/file");
    testsupport::WithFailing({{SYS_unlinkat, EIO}}, [] {
        EXPECT_EQ(RemoveFailedFiles(), corekit::Result(EIO));
        return 0;
    });
    EXPECT_TRUE(HasFailedFiles());
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Apply
