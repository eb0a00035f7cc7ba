// Which directories of PATH programs are looked for in.
#include <gtest/gtest.h>

#include "corekit/process/detail/SearchPath.h"
#include "tests/support/EnvironmentVariable.h"

namespace {

constexpr const char* kUsual = "/usr/sbin:/usr/bin:/sbin:/bin";

struct Case {
    const char* path;
    const char* expected;
};

constexpr Case kCases[] = {
    {"/opt/bin:/bin", "/opt/bin:/bin"},
    {"/bin", "/bin"},
    {"/a b/c", "/a b/c"},
    {":/bin:", "/bin"},
    {"/bin::/sbin", "/bin:/sbin"},
    {".:/bin:..:bin:../bin:/sbin:.", "/bin:/sbin"},
    {"", kUsual},
    {":", kUsual},
    {"bin:.", kUsual},
};

}  // namespace

TEST(SearchPath, IsMadeOfAbsoluteDirectories) {
    for (const Case& row : kCases) {
        const testsupport::EnvironmentVariable path("PATH", row.path);
        EXPECT_EQ(corekit::SearchPath(), row.expected) << row.path;
    }
}

TEST(SearchPath, IsTheUsualOneWithoutAPath) {
    const testsupport::EnvironmentVariable path("PATH", std::nullopt);
    EXPECT_EQ(corekit::SearchPath(), kUsual);
}
