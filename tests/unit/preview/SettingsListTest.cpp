// Settings and the sources of their values, as a preview's document has them.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "preview/SettingsList.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

using Kind = Source::Kind;

TEST(SourceAsJson, HasAWordForEachKind_AndAFieldForTheNameOfSome) {
    struct Case {
        Kind kind;
        const char* json;
    };
    const Case cases[] = {
        {Kind::Default, R"({"kind":"default"})"},
        {Kind::Environment, R"({"kind":"environment","variable":"a name"})"},
        {Kind::Xml, R"({"kind":"xml","file":"a name"})"},
        {Kind::Installed, R"({"kind":"installed","file":"a name"})"},
        {Kind::Answer, R"({"kind":"answer"})"},
        {Kind::Option, R"({"kind":"option"})"},
        {Kind::PackageManager, R"({"kind":"package-manager"})"},
        {Kind::Program, R"({"kind":"program"})"},
        {Kind::Setting, R"({"kind":"setting","setting":"a name"})"},
        {Kind::Template, R"({"kind":"template","file":"a name"})"},
    };
    for (const Case& c : cases) EXPECT_EQ(SourceAsJson({c.kind, L"a name"}).dump(), c.json);
}

TEST(SourceAsJson, LeavesOutWhatNobodyKnows) {
    EXPECT_EQ(SourceAsJson({Kind::Xml}).dump(), R"({"kind":"xml"})");
    EXPECT_EQ(SourceAsJson({Kind::Xml, L"/a", 4}).dump(), R"({"kind":"xml","file":"/a","line":4})");
    EXPECT_EQ(SourceAsJson({Kind::Xml, L"/a", 1, 1}).dump(),
              R"({"kind":"xml","file":"/a","line":1,"column":1})");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
