// The check of an XML configuration document: names, places and values.
#include <algorithm>
#include <optional>
#include <set>
#include <vector>

#include "corekit/text/Character.h"
#include "corekit/text/Text.h"
#include "corekit/text/Url.h"
#include "run/Messages.h"
#include "settings/ServerUrl.h"
#include "settings/XmlConfig.h"
#include "settings/XmlFormat.h"

namespace Zorvane::AgentInstaller {

using corekit::BasicXml;
using corekit::String;
using Messages::Shown;

namespace {

// --- Values

bool IsOneOf(const String& value, std::initializer_list<std::wstring_view> words) {
    return std::ranges::find(words, value.Lower().View()) != words.end();
}

bool IsYesOrNo(const String& value) {
    return corekit::Text::StrToBool(value) || IsWordForNo(value);
}

/// A host with or without a port, or a whole URL.
bool IsServer(const String& value) {
    if (value.Contains(L"://")) return ServerUrl::FromFullUrl(value).has_value();
    return value.FindOneOf(L"/?#@") == String::npos && ServerUrl(value).IsValid();
}

bool IsPort(const String& value) {
    return IsServer(L"host:" + value);
}

bool IsNumber(const String& value) {
    return std::ranges::all_of(value, corekit::IsDigit);
}

bool IsLogLevel(const String& value) {
    return IsOneOf(value, {L"error", L"warning", L"info", L"debug", L"dbgverbose", L"devnote"});
}

struct ValueRule {
    XmlValue kind;
    bool (*isGood)(const String& value);  // of one that is trimmed and not empty
    const wchar_t* whatItCanBe;
};
constexpr ValueRule kRules[] = {
    {XmlValue::None, [](const String&) { return false; }, L"no text can stand there"},
    {XmlValue::YesNo, IsYesOrNo, L"yes or no"},
    {XmlValue::ExactYesNo, [](const String& value) { return value == L"yes" || value == L"no"; },
     L"yes or no, in lower case"},
    {XmlValue::Server, IsServer,
     L"the name or address of a host, with or without a port, or an http or https URL"},
    {XmlValue::Port, IsPort, L"a number from 1 to 65535"},
    {XmlValue::Protocol,
     [](const String& value) {
         return IsOneOf(value, {L"http", L"https"});
     },
     L"http or https"},
    {XmlValue::Kilobytes, IsNumber, L"a number of kilobytes"},
    {XmlValue::LogLevel, IsLogLevel, L"Error, Warning, Info, Debug, DbgVerbose or DevNote"},
    {XmlValue::SystemLogLevel,
     [](const String& value) {
         return IsOneOf(value, {L"none", L"error", L"warning", L"info"});
     },
     L"None, Error, Warning or Info"},
    {XmlValue::RunLevels, [](const String& value) { return value.FindOneOf(L"0123456") != String::npos; },
     L"run levels from 0 to 6, such as rc2;rc3;rc5"},
};

/// The values that would do, as a warning names them, for a value that breaks the rule of its kind.
std::optional<String> WhatElse(XmlValue kind, const String& value) {
    const auto rule = std::ranges::find(kRules, kind, &ValueRule::kind);
    if (rule == std::end(kRules) || value.Trim().IsEmpty() || rule->isGood(value.Trim())) return std::nullopt;
    return String(rule->whatItCanBe);
}

// --- Names

const XmlItem* FindItem(XmlPart part, const String& name) {
    const auto item = std::ranges::find_if(
        XmlFormat::kItems, [&](const XmlItem& known) { return known.part == part && name == known.name; });
    return item == std::end(XmlFormat::kItems) ? nullptr : item;
}

/// How many letters have to be changed, added or left out to make one of two words the other.
std::size_t Distance(const String& left, const String& right) {
    std::vector<std::size_t> row(right.Length() + 1);
    for (std::size_t i = 0; i < row.size(); ++i) row[i] = i;
    for (std::size_t l = 1; l <= left.Length(); ++l) {
        std::size_t diagonal = row[0];
        row[0] = l;
        for (std::size_t r = 1; r <= right.Length(); ++r) {
            const std::size_t changed = diagonal + (left[l - 1] == right[r - 1] ? 0 : 1);
            diagonal = row[r];
            row[r] = std::min({row[r] + 1, row[r - 1] + 1, changed});
        }
    }
    return row.back();
}

/// " (LogLevel?)" for a name that is near a known one, in which case does not count; else nothing.
String Suggestion(XmlPart part, const String& name) {
    constexpr std::size_t kLongest = 40;  // a longer name is near none
    if (name.Length() > kLongest) return String();
    const std::size_t mostChanges = name.Length() < 4 ? 1 : std::max<std::size_t>(name.Length() / 3, 2);
    std::size_t least = mostChanges + 1;
    String nearest;
    for (const XmlItem& item : XmlFormat::kItems) {
        if (item.part != part) continue;
        const std::size_t distance = Distance(name.Lower(), String(item.name).Lower());
        if (distance >= least) continue;
        least = distance;
        nearest = L" (" + String(item.name) + L"?)";
    }
    return nearest;
}

/// Declarations for XML tools, which a schema allows everywhere.
bool IsForTools(const String& attribute) {
    return attribute.StartsWith(L"xmlns:") || attribute == L"xsi:noNamespaceSchemaLocation" ||
           attribute == L"xsi:schemaLocation";
}

// --- The document

class Check {
  public:
    Check(const BasicXml& document, const String& path);
    void Visit(const BasicXml::Element& element);

  private:
    void CheckPlace(const BasicXml::Element& element, const XmlItem& item);
    void CheckAttribute(const BasicXml::Element& element, const BasicXml::Attribute& attribute);
    void CheckValue(const XmlItem& item, const String& value, const BasicXml::Position& position);
    String WhyNotWithServer(const XmlItem& item, const String& value) const;
    void Warn(const BasicXml::Position& position, const String& what) const;

    String m_path;
    bool m_namesServer;              // by a name or an address that counts
    std::optional<ServerUrl> m_url;  // of a server that is named by a URL
    int m_portOfName;                // of one that is not; negative without one
    std::set<String> m_seen;         // elements
    std::set<String> m_misplaced;    // elements that are not where they belong: so is what is in them
};

Check::Check(const BasicXml& document, const String& path) : m_path(path) {
    corekit::AttributeMap attributes;
    document.GetAttributes(XmlFormat::kSettings, attributes);
    const bool useAddress = attributes[L"UseKSIPAddress"] == L"yes" && attributes.contains(L"KSIPAddress");
    const String server = (useAddress ? attributes[L"KSIPAddress"] : document.GetText(L"KSName")).Trim();
    m_namesServer = !server.IsEmpty();
    m_url = ServerUrl::FromFullUrl(server);
    m_portOfName = m_url ? -1 : corekit::Url(server).GetPort();
}

void Check::Visit(const BasicXml::Element& element) {
    const XmlItem* const item = FindItem(XmlPart::Element, element.name);
    if (item == nullptr) {
        Warn(element.position,
             L"unknown element " + Shown(element.name) + Suggestion(XmlPart::Element, element.name));
        m_misplaced.insert(element.name);
    } else {
        CheckPlace(element, *item);
    }
    for (const BasicXml::Attribute& attribute : element.attributes) CheckAttribute(element, attribute);
    if (item != nullptr) CheckValue(*item, element.text, element.position);
}

void Check::CheckPlace(const BasicXml::Element& element, const XmlItem& item) {
    if (element.parent != item.parent) {
        const String place =
            item.parent.empty() ? String(L"around all others") : L"in " + String(item.parent);
        if (!m_misplaced.contains(element.parent)) {
            Warn(element.position, element.name + L" belongs " + place);
        }
        m_misplaced.insert(element.name);
    }
    const bool isFirst = m_seen.insert(element.name).second;
    if (!isFirst && element.name != XmlFormat::kExtraSetting) {
        Warn(element.position, element.name + L" stands there twice: the first one counts");
    }
}

void Check::CheckAttribute(const BasicXml::Element& element, const BasicXml::Attribute& attribute) {
    if (IsForTools(attribute.name)) return;
    const XmlItem* const item = FindItem(XmlPart::Attribute, attribute.name);
    if (item == nullptr) {
        Warn(attribute.position,
             L"unknown attribute " + Shown(attribute.name) + Suggestion(XmlPart::Attribute, attribute.name));
        return;
    }
    if (element.name != item->parent) {
        Warn(attribute.position, L"attribute " + attribute.name + L" belongs in " + String(item->parent));
    }
    CheckValue(*item, attribute.value, attribute.position);
}

void Check::CheckValue(const XmlItem& item, const String& value, const BasicXml::Position& position) {
    if (item.value == XmlValue::Upgrade) {
        if (value.IsEmpty() || value == L"yes" || value == L"no") return;
        Messages::Warn(String(L"WARNING! Upgrade is neither \"yes\" nor \"no\": %1. It counts as \"yes\".\n")
                           .Arg(Shown(value)));
        return;
    }
    const auto whatElse = WhatElse(item.value, value);
    const String why = whatElse ? *whatElse : WhyNotWithServer(item, value.Trim());
    if (!why.IsEmpty()) Warn(position, String(item.name) + L" \"" + Shown(value.Trim()) + L"\": " + why);
}

/// Why a port or a protocol, good by itself, does not go with the server that is named; else nothing.
String Check::WhyNotWithServer(const XmlItem& item, const String& value) const {
    if (value.IsEmpty()) return String();
    if (item.value == XmlValue::Port) {
        if (!m_namesServer) return L"only together with KSName or KSIPAddress";
        if (m_url && m_url->Port() != value.ToInt()) {
            return L"the URL of the server has port " + String::FromInt(m_url->Port());
        }
        if (m_portOfName >= 0) return L"the name of the server has port " + String::FromInt(m_portOfName);
    }
    if (item.value == XmlValue::Protocol && m_url && m_url->GetProtocol() != value.Lower()) {
        return L"the URL of the server has " + m_url->GetProtocol();
    }
    return String();
}

void Check::Warn(const BasicXml::Position& position, const String& what) const {
    Messages::Warn(L"WARNING! " + Shown(m_path) + L":" +
                   String::FromInt(static_cast<long long>(position.line)) + L":" +
                   String::FromInt(static_cast<long long>(position.column)) + L": " + what + L".\n");
}

}  // namespace

bool IsWordForNo(const String& value) {
    return IsOneOf(value.Trim(), {L"no", L"n", L"false", L"off", L"0"});
}

void WarnOfXmlMistakes(const BasicXml& document, const String& path) {
    Check check(document, path);
    document.ForEachElement([&](const BasicXml::Element& element) { check.Visit(element); });
}

}  // namespace Zorvane::AgentInstaller
