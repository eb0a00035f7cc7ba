// Versions of three numbers.
#include <gtest/gtest.h>

#include "corekit/text/Version.h"
#include "tests/support/PrintString.h"

using corekit::Version;

namespace {

TEST(Version, HoldsThreeNumbers) {
    Version version;
    EXPECT_EQ(version, Version(0, 0, 0));
    version.Set(6, 2, 1378);
    EXPECT_EQ(version.Major(), 6);
    EXPECT_EQ(version.Minor(), 2);
    EXPECT_EQ(version.Build(), 1378);
}

TEST(Version, IsOrderedByMajorThenMinorThenBuild) {
    const Version ascending[] = {{-1, 9, 9}, {0, 0, 0},  {5, 5, 0}, {5, 6, 0},
                                 {6, 0, 9},  {6, 0, 10}, {6, 1, 0}, {10, 0, 0}};
    for (std::size_t i = 1; i < std::size(ascending); ++i) EXPECT_LT(ascending[i - 1], ascending[i]) << i;
    EXPECT_EQ(Version(6, 0, 350), Version(6, 0, 350));
}

TEST(Version, IsWrittenAsMajorAndMinor) {
    EXPECT_EQ(Version(6, 0, 350).ToString(L"."), L"6.0");
    EXPECT_EQ(Version(10, 12, 0).ToString(L"_"), L"10_12");
    EXPECT_EQ(Version(6, 0, 0).ToString(L""), L"60");
}

}  // namespace
