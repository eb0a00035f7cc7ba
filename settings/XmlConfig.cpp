// The XML configuration document: which of its elements and attributes are which settings.
#include "settings/XmlConfig.h"

#include <span>

#include "kDefaultConfig.embedded.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::AttributeMap;
using corekit::BasicXml;
using corekit::String;

namespace {

constexpr SettingName kElementSettings[] = {
    L"KSName",       L"KSProtocol", L"Guid",          L"InstallDir",  L"BinDir",       L"TempDir",
    L"GuidDir",      L"GuidFile",   L"EventQueueDir", L"TasksDir",    L"PackagesDir",  L"SWDDir",
    L"SerialNumber", L"AssetTag",   L"EmployeeID",    L"ContactName", L"ContactPhone", L"ContactEmail",
    L"Location",     L"Department", L"Description",
};

constexpr SettingName kSettingsAttributes[] = {L"UseKSIPAddress", L"UseDomain", L"EnableNICError",
                                               L"Upgrade",        L"Start",     L"AllowNonRoot",
                                               L"StartupOnBoot",  L"RunLevel"};
constexpr SettingName kCurlSslAttributes[] = {L"SSLVerifyPeer", L"SSLVerifyHost", L"CAInfo", L"CAPath"};
constexpr SettingName kEventLogAttributes[] = {L"LogDir", L"LogFile", L"LogSize", L"LogLevel",
                                               L"SysLogLevel"};

/// The settings that are attributes of one element.
struct AttributeSettings {
    const wchar_t* element;
    std::span<const SettingName> attributes;
};
constexpr AttributeSettings kAttributeSettings[] = {
    {L"Settings", kSettingsAttributes},
    {L"CurlSSL", kCurlSslAttributes},
    {L"EventLog", kEventLogAttributes},
};

/// The server's name, or its address where that is to be used, with the port if there is one.
String ServerName(const BasicXml& document) {
    AttributeMap attributes;
    document.GetAttributes(L"Settings", attributes);
    const bool useAddress = attributes[L"UseKSIPAddress"] == L"yes" && attributes.contains(L"KSIPAddress");
    const String name = useAddress ? attributes[L"KSIPAddress"] : document.GetText(L"KSName").Trim();
    const String port = document.GetText(L"KSPort").Trim();
    return port.IsEmpty() ? name : name + L":" + port;
}

/// Upper case, in braces.
String NormalisedGuid(const String& guid) {
    const String upper = guid.Upper();
    return upper.StartsWith(L"{") ? upper : L"{" + upper + L"}";
}

/// An attribute that an entry lacks has the value that the shared map holds from what was read before.
void ReadExtraSettings(const BasicXml& document, AttributeMap& attributes, Settings& settings) {
    const BasicXml extra = document.GetNode(L"ExtraConfigSettings");
    const String& section = attributes[L"Section"];
    const String& name = attributes[L"Name"];
    const String& value = attributes[L"Value"];
    for (std::size_t index = 0;; ++index) {
        const BasicXml entry = extra.GetNode(L"Setting", index);
        if (!entry.Exists()) return;
        entry.GetAttributes(attributes);
        settings.AddExtra({section, name, value});
    }
}

}  // namespace

void ReadElementSetting(Settings& settings, const BasicXml& document, SettingName name) {
    settings.Value(name) = name == L"KSName" ? ServerName(document) : document.GetText(name).Trim();
}

std::unique_ptr<Settings> ReadXmlConfig(const BasicXml& document) {
    auto settings = std::make_unique<Settings>();
    for (const SettingName name : kElementSettings) ReadElementSetting(*settings, document, name);
    AttributeMap attributes;
    for (const AttributeSettings& row : kAttributeSettings) {
        document.GetAttributes(row.element, attributes);
        for (const SettingName name : row.attributes) settings->Value(name) = attributes[name];
    }
    if (settings->IsSet(L"Guid")) settings->Value(L"Guid") = NormalisedGuid(settings->Value(L"Guid"));
    if (!settings->IsSet(L"KSProtocol")) settings->Value(L"KSProtocol") = L"http";
    settings->Value(L"KSUrlFormat") = UrlFormat(settings->Value(L"KSProtocol"));
    ReadExtraSettings(document, attributes, *settings);
    return settings;
}

std::unique_ptr<Settings> DefaultSettings() {
    return ReadXmlConfig(BasicXml(std::string_view(kDefaultConfig)));
}

}  // namespace Zorvane::AgentInstaller
