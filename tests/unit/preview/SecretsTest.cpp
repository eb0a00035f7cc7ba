// Values of passwords are masked wherever they stand; nothing else is.
#include <gmock/gmock.h>

#include "preview/Secrets.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

TEST(Secrets, ANameThatEndsInPasswordIsSecretInAnyCase) {
    for (const char* name : {"password", "PASSWORD", "pkg_access_password", "ProxyPassWord"})
        EXPECT_TRUE(IsSecretName(name)) << name;
    for (const char* name : {"", "passwords", "password_file", "pass", "word"})
        EXPECT_FALSE(IsSecretName(name)) << name;
}

TEST(Secrets, ValuesAreMaskedWhereverTheyStand) {
    const std::pair<const char*, const char*> rows[] = {
        {"a_password=geheim\nb=1\n", "a_password=***\nb=1\n"},
        {"a_password = ge=heim  x\r\nb=1", "a_password = ***\r\nb=1"},
        {"PASSWORD=geheim", "PASSWORD=***"},
        {"<ProxyPassword>geheim</ProxyPassword>", "<ProxyPassword>***</ProxyPassword>"},
        {"<Password kind=\"x\">ge\nheim</Password>", "<Password kind=\"x\">***</Password>"},
        {"<A Password=\"geheim\" B=\"1\"/>", "<A Password=\"***\" B=\"1\"/>"},
        {"<A Password = 'geheim'/>", "<A Password = '***'/>"},
        {"<Setting Name=\"my_password\" Value=\"geheim\"/>", "<Setting Name=\"my_password\" Value=\"***\"/>"},
        {"<Setting Value='geheim' Name='my_password'/>", "<Setting Value='***' Name='my_password'/>"},
        {"password=one\nother_password=two\n", "password=***\nother_password=***\n"},
    };
    for (const auto& [text, masked] : rows) EXPECT_EQ(Masked(text), masked);
}

TEST(Secrets, OtherTextStaysAsItIs) {
    for (const char* text :
         {"", "password", "password=", "password=\nb=1\n", "passwords=1", "password_file=/etc/x",
          "Your password is needed.", "<Password/>", "<Password></Password>",
          "<Setting Name=\"my_password\"/>", "<Password", "<A Password=\"\"/>"})
        EXPECT_EQ(Masked(text), text);
}

TEST(Secrets, WhatIsMaskedIsCollectedAndMaskedInOtherTextsToo) {
    std::set<std::string> secrets;
    Masked("a_password=geheim\nb_password=abc\n", &secrets);
    EXPECT_THAT(secrets, testing::ElementsAre("abc", "geheim"));
    EXPECT_EQ(WithoutValues("geheim! abc geheimgeheim", secrets), "***! abc ******");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
