// Writes down settings and their sources.
#include "preview/SettingsList.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "corekit/json/Json.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::Json;

namespace {

/// A kind of source: its word in the document, and the field there that has the source's name.
struct KindRow {
    Source::Kind kind;
    const char* word;
    const char* field;  // null for a source without a name
};
constexpr KindRow kKinds[] = {
    {Source::Kind::Default, "default", nullptr},
    {Source::Kind::Environment, "environment", "variable"},
    {Source::Kind::Xml, "xml", "file"},
    {Source::Kind::Installed, "installed", "file"},
    {Source::Kind::Answer, "answer", nullptr},
    {Source::Kind::Option, "option", nullptr},
    {Source::Kind::PackageManager, "package-manager", nullptr},
    {Source::Kind::Program, "program", nullptr},
    {Source::Kind::Setting, "setting", "setting"},
    {Source::Kind::Template, "template", "file"},
};

static_assert(std::ranges::none_of(kSettingNames,
                                   [](std::wstring_view name) { return name.ends_with(L"assword"); }),
              "the values of settings are shown");

Json ValueAsJson(const SourcedValue& value) {
    return {{"value", value.value.Utf8()}, {"source", SourceAsJson(value.source)}};
}

}  // namespace

Json SourceAsJson(const Source& source) {
    const auto* const row = std::ranges::find(kKinds, source.kind, &KindRow::kind);
    Json json = {{"kind", row == std::end(kKinds) ? "program" : row->word}};
    if (row != std::end(kKinds) && row->field != nullptr && !source.name.IsEmpty())
        json[row->field] = source.name.Utf8();
    if (source.line > 0) json["line"] = source.line;
    if (source.column > 0) json["column"] = source.column;
    return json;
}

Json SettingsList(const Settings& settings) {
    Json list = Json::array();
    for (const auto& [name, record] : settings.Records()) {
        Json setting = {{"name", corekit::String(name).Utf8()}};
        setting.update(ValueAsJson(record.used));
        setting["unused"] = Json::array();
        for (const SourcedValue& value : record.unused) setting["unused"].push_back(ValueAsJson(value));
        list.push_back(std::move(setting));
    }
    return list;
}

}  // namespace Zorvane::AgentInstaller::Preview
