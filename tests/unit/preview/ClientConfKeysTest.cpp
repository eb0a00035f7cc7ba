// The keys of a client.conf as a preview shows them.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "preview/ClientConfKeys.h"
#include "preview/SettingsList.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

TEST(ClientConfKeys, ValuesOfPasswordsAreHidden_AndAKeyIsToldOnce) {
    const corekit::IniFile conf(L"client.conf",
                                "[SWD]\npkg_access_password=geheim\npkg_access_password=second\n"
                                "empty_password=\nx=1\n",
                                corekit::IniFile::KeyCase::Exact);
    const corekit::Json keys =
        KeysOf(conf, corekit::IniFile(L"client.proto", "", corekit::IniFile::KeyCase::Exact), {});
    ASSERT_EQ(keys.size(), 3U);
    EXPECT_EQ(keys[0]["key"], "pkg_access_password");
    EXPECT_EQ(keys[0]["value"], "***");
    EXPECT_EQ(keys[1]["value"], "");
    EXPECT_EQ(keys[2]["value"], "1");
    for (const corekit::Json& key : keys) EXPECT_EQ(key["source"], SourceAsJson(Source()));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
