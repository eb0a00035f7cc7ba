// The record of a package as it is written.
#include <gtest/gtest.h>

#include "deploykit/PackageDelivery.h"
#include "tests/support/PrintString.h"

using deploykit::PackageDelivery::Package;
using deploykit::PackageDelivery::PackageUser;

namespace {

TEST(PackageDelivery, WritesAPackageWithItsUser) {
    PackageUser user;
    user.Set(L"Name", L"Zorvane.SWD");
    user.Set(L"PkgStatus", L"3");
    Package package;
    package.Set(L"PackageName", L"Office <2> & \"more\"");
    package.Set(L"PkgTotalSize", L"1024");
    package.AddUser(user);
    EXPECT_EQ(package.ToString(),
              L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              L"<Package PackageName=\"Office &lt;2&gt; &amp; &quot;more&quot;\" PkgTotalSize=\"1024\">\n"
              L"    <PackageUser Name=\"Zorvane.SWD\" PkgStatus=\"3\"/>\n"
              L"</Package>\n");
}

TEST(PackageDelivery, WritesAPackageWithoutFieldsAndUsers) {
    EXPECT_EQ(Package().ToString(), L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Package/>\n");
}

TEST(PackageDelivery, KeepsTheLastTextOfAField) {
    Package package;
    package.Set(L"Enabled", L"true");
    package.Set(L"Enabled", L"false");
    EXPECT_EQ(package.ToString(),
              L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Package Enabled=\"false\"/>\n");
}

TEST(PackageDelivery, HasNoRecordForATextThatXmlCannotHold) {
    PackageUser user;
    user.Set(L"PkgStatus", L"\x1b[2J");
    Package package;
    package.AddUser(user);
    EXPECT_EQ(package.ToString(), L"");
}

}  // namespace
