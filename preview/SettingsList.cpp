// Writes down settings and their sources.
#include "preview/SettingsList.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "corekit/json/Json.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::Json;

namespace {

/// A kind of source: its word in the document, and the field there that has the source's name.
struct KindTexts {
    const char* word;
    const char* field = nullptr;  // of a source that has a name
};

KindTexts TextsOf(Source::Kind kind) {
    switch (kind) {
        case Source::Kind::Default:
            return {"default"};
        case Source::Kind::Environment:
            return {"environment", "variable"};
        case Source::Kind::Xml:
            return {"xml", "file"};
        case Source::Kind::Installed:
            return {"installed", "file"};
        case Source::Kind::Answer:
            return {"answer"};
        case Source::Kind::Option:
            return {"option"};
        case Source::Kind::PackageManager:
            return {"package-manager"};
        case Source::Kind::Setting:
            return {"setting", "setting"};
        case Source::Kind::Template:
            return {"template", "file"};
        case Source::Kind::Program:
            break;
    }
    return {"program"};
}

static_assert(std::ranges::none_of(kSettingNames,
                                   [](std::wstring_view name) { return name.ends_with(L"assword"); }),
              "the values of settings are shown");

Json ValueAsJson(const SourcedValue& value) {
    return {{"value", value.value.Utf8()}, {"source", SourceAsJson(value.source)}};
}

}  // namespace

Json SourceAsJson(const Source& source) {
    const KindTexts texts = TextsOf(source.kind);
    Json json = {{"kind", texts.word}};
    if (texts.field != nullptr && !source.name.IsEmpty()) json[texts.field] = source.name.Utf8();
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
