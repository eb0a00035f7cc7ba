// Extended attributes are taken over from a file, or left out where they cannot be.
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/syscall.h>
#include <sys/xattr.h>

#include "corekit/fs/detail/ExtendedAttributes.h"
#include "corekit/os/Descriptor.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintResult.h"
#include "tests/support/TestFiles.h"

using corekit::Descriptor;
using corekit::Result;
using corekit::TakeExtendedAttributes;

namespace {

class ExtendedAttributes : public testing::Test {
  protected:
    ExtendedAttributes() {
        testfiles::Write(m_dir / "model", "");
        testfiles::Write(m_dir / "new", "");
        m_file = Descriptor(open((m_dir / "new").c_str(), O_WRONLY));
    }

    Result Take() const { return TakeExtendedAttributes(m_file.Get(), {AT_FDCWD, m_dir / "model"}); }

    std::string Attribute(const char* name) const {
        char value[64] = {};
        const ssize_t length = getxattr((m_dir / "new").c_str(), name, value, sizeof value);
        return length < 0 ? "none" : std::string(value, static_cast<std::size_t>(length));
    }

    const testfiles::TempDir m_dir;
    Descriptor m_file;
};

TEST_F(ExtendedAttributes, AreTakenOverFromTheModel) {
    ASSERT_EQ(setxattr((m_dir / "model").c_str(), "user.one", "1", 1, 0), 0);
    ASSERT_EQ(setxattr((m_dir / "model").c_str(), "user.empty", "", 0, 0), 0);
    EXPECT_TRUE(Take());
    EXPECT_EQ(Attribute("user.one"), "1");
    EXPECT_EQ(Attribute("user.empty"), "");
    EXPECT_EQ(Attribute("user.other"), "none");
}

TEST_F(ExtendedAttributes, ReplaceOtherValues) {
    ASSERT_EQ(setxattr((m_dir / "model").c_str(), "user.one", "new", 3, 0), 0);
    ASSERT_EQ(setxattr((m_dir / "new").c_str(), "user.one", "old", 3, 0), 0);
    EXPECT_TRUE(Take());
    EXPECT_EQ(Attribute("user.one"), "new");
}

TEST_F(ExtendedAttributes, AreLeftOut_WhenTheyMayNotBeSet) {
    ASSERT_EQ(setxattr((m_dir / "model").c_str(), "user.one", "1", 1, 0), 0);
    for (const int refusal : {EPERM, EACCES, ENOTSUP})
        EXPECT_EQ(testsupport::WithFailing({{SYS_fsetxattr, refusal}}, [&] { return Take().Code(); }), 0);
    EXPECT_EQ(testsupport::WithFailing({{SYS_fsetxattr, ENOSPC}}, [&] { return Take().Code(); }), ENOSPC);
    EXPECT_EQ(Attribute("user.one"), "none");
}

TEST_F(ExtendedAttributes, AreNone_WhenTheFileSystemHasNone) {
    EXPECT_EQ(testsupport::WithFailing({{SYS_flistxattr, ENOTSUP}}, [&] { return Take().Code(); }), 0);
    EXPECT_EQ(testsupport::WithFailing({{SYS_flistxattr, EIO}}, [&] { return Take().Code(); }), EIO);
}

}  // namespace
