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
        {"<setting NAME = 'My_Password ' other=\"a>b\"\n VALUE\n=\n'ge>\"heim'/>",
         "<setting NAME = 'My_Password ' other=\"a>b\"\n VALUE\n=\n'***'/>"},
        {"<Setting Name='p&#97;ssword' Value='geheim'/>", "<Setting Name='p&#97;ssword' Value='***'/>"},
        {"<!-- <Setting Value='geheim' Name='password'/> -->",
         "<!-- <Setting Value='***' Name='password'/> -->"},
        {"a < 'b\n<Setting Value='geheim' Name='password'/>",
         "a < 'b\n<Setting Value='***' Name='password'/>"},
        {"password=one\nother_password=two\n", "password=***\nother_password=***\n"},
        {"<a>\npassword=\"ge\" heim\n", "<a>\npassword=***\n"},
        {"<S Name='password' Name='b' Value='geheim'/>", "<S Name='password' Name='b' Value='***'/>"},
        {"password=one <S Name='password' Value='geheim'/>\n", "password=***\n"},
    };
    for (const auto& [text, masked] : rows) EXPECT_EQ(Masked(text), masked);
}

TEST(Secrets, OtherTextStaysAsItIs) {
    for (const char* text : {"",
                             "password",
                             "password=",
                             "password=\nb=1\n",
                             "passwords=1",
                             "password_file=/etc/x",
                             "Your password is needed.",
                             "<Password/>",
                             "<a><Password/>text</a>",
                             "<Password></Password>",
                             "<Setting Name=\"my_password\"/>",
                             "<Password",
                             "<Password kind",
                             "<A Password=\"\"/>",
                             "<Setting Name='user' Value='admin'/><Setting Name='password'/>",
                             "<Setting Rename='password' Value='1'/>",
                             "<Setting Name='password' Values='1'/>",
                             "<'password",
                             "<Name",
                             "<Name='password"})
        EXPECT_EQ(Masked(text), text);
}

// Each took minutes where a search began anew for each of many; the time limit of the tests would end it.
TEST(Secrets, LargeTextsTakeNoLongerThanTheirSize) {
    const auto repeated = [](const std::string& part) {
        std::string text;
        for (int count = 0; count < 50000; ++count) text += part;
        return text;
    };
    for (const char* part :
         {"password=x\n", "password=\"x\n", "<password>", "<'\"", "<a 'x\n", "<password='"})
        EXPECT_FALSE(Masked(repeated(part)).empty());
}

TEST(Secrets, WhatIsMaskedIsCollectedAndMaskedInOtherTextsToo) {
    std::set<std::string> secrets;
    Masked("a_password=geheim\nb_password=abc\n", &secrets);
    EXPECT_THAT(secrets, testing::ElementsAre("abc", "geheim"));
    EXPECT_EQ(WithoutValues("geheim! abc geheimgeheim", secrets), "***! abc ******");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
