// The XML configuration document: its elements and attributes, where they belong and what they can hold.
#pragma once

#include <string_view>

#include "run/Keys.h"

namespace Zorvane::AgentInstaller {

/// The kinds of texts of elements and values of attributes; any can be empty.
enum class XmlValue {
    None,  // nothing: the element holds other elements or attributes
    Any,
    YesNo,
    ExactYesNo,  // only "yes", as it is, counts as a yes
    Upgrade,     // the same, with a warning of its own
    Server,
    Port,
    Protocol,
    Kilobytes,
    LogLevel,
    SystemLogLevel,
    RunLevels,
};

enum class XmlPart { Element, Attribute };

struct XmlItem {
    XmlPart part;
    std::wstring_view parent;  // the element that it belongs in; "" for the document's root
    std::wstring_view name;
    XmlValue value;
    SettingName setting;  // what it becomes; none where that has a rule of its own
};

namespace XmlFormat {

consteval XmlItem Part(XmlPart part, const wchar_t* parent, const wchar_t* name, XmlValue value) {
    return {part, parent, name, value, {}};
}
consteval XmlItem Setting(XmlPart part, const wchar_t* parent, const wchar_t* name, XmlValue value) {
    return {part, parent, name, value, SettingName(name)};
}

inline constexpr const wchar_t* kRoot = L"KSAgentConfiguration";
inline constexpr const wchar_t* kSettings = L"Settings";
inline constexpr const wchar_t* kCurlSsl = L"CurlSSL";
inline constexpr const wchar_t* kEventLog = L"EventLog";
inline constexpr const wchar_t* kExtraSettings = L"ExtraConfigSettings";
inline constexpr const wchar_t* kExtraSetting = L"Setting";

inline constexpr XmlPart kElement = XmlPart::Element;
inline constexpr XmlPart kAttribute = XmlPart::Attribute;

/// All of them, in the order in which they are read.
inline constexpr XmlItem kItems[] = {
    Part(kElement, L"", kRoot, XmlValue::None),
    Setting(kElement, kRoot, L"KSName", XmlValue::Server),
    Part(kElement, kRoot, L"KSPort", XmlValue::Port),
    Setting(kElement, kRoot, L"KSProtocol", XmlValue::Protocol),
    Setting(kElement, kRoot, L"Guid", XmlValue::Any),
    Part(kElement, kRoot, kSettings, XmlValue::None),
    Setting(kAttribute, kSettings, L"UseKSIPAddress", XmlValue::ExactYesNo),
    Part(kAttribute, kSettings, L"KSIPAddress", XmlValue::Server),
    Setting(kAttribute, kSettings, L"UseDomain", XmlValue::YesNo),
    Setting(kAttribute, kSettings, L"EnableNICError", XmlValue::YesNo),
    Setting(kAttribute, kSettings, L"Upgrade", XmlValue::Upgrade),
    Setting(kAttribute, kSettings, L"Start", XmlValue::YesNo),
    Setting(kAttribute, kSettings, L"AllowNonRoot", XmlValue::YesNo),
    Setting(kAttribute, kSettings, L"StartupOnBoot", XmlValue::YesNo),
    Setting(kAttribute, kSettings, L"RunLevel", XmlValue::RunLevels),
    Part(kElement, kSettings, kCurlSsl, XmlValue::None),
    Setting(kAttribute, kCurlSsl, L"SSLVerifyPeer", XmlValue::YesNo),
    Setting(kAttribute, kCurlSsl, L"SSLVerifyHost", XmlValue::YesNo),
    Setting(kAttribute, kCurlSsl, L"CAInfo", XmlValue::Any),
    Setting(kAttribute, kCurlSsl, L"CAPath", XmlValue::Any),
    Part(kElement, kSettings, kEventLog, XmlValue::None),
    Setting(kAttribute, kEventLog, L"LogDir", XmlValue::Any),
    Setting(kAttribute, kEventLog, L"LogFile", XmlValue::Any),
    Setting(kAttribute, kEventLog, L"LogSize", XmlValue::Kilobytes),
    Setting(kAttribute, kEventLog, L"LogLevel", XmlValue::LogLevel),
    Setting(kAttribute, kEventLog, L"SysLogLevel", XmlValue::SystemLogLevel),
    Setting(kElement, kSettings, L"InstallDir", XmlValue::Any),
    Setting(kElement, kSettings, L"BinDir", XmlValue::Any),
    Setting(kElement, kSettings, L"TempDir", XmlValue::Any),
    Setting(kElement, kSettings, L"GuidDir", XmlValue::Any),
    Setting(kElement, kSettings, L"GuidFile", XmlValue::Any),
    Setting(kElement, kSettings, L"EventQueueDir", XmlValue::Any),
    Setting(kElement, kSettings, L"TasksDir", XmlValue::Any),
    Setting(kElement, kSettings, L"PackagesDir", XmlValue::Any),
    Setting(kElement, kSettings, L"SWDDir", XmlValue::Any),
    Setting(kElement, kRoot, L"SerialNumber", XmlValue::Any),
    Setting(kElement, kRoot, L"AssetTag", XmlValue::Any),
    Setting(kElement, kRoot, L"EmployeeID", XmlValue::Any),
    Setting(kElement, kRoot, L"ContactName", XmlValue::Any),
    Setting(kElement, kRoot, L"ContactPhone", XmlValue::Any),
    Setting(kElement, kRoot, L"ContactEmail", XmlValue::Any),
    Setting(kElement, kRoot, L"Location", XmlValue::Any),
    Setting(kElement, kRoot, L"Department", XmlValue::Any),
    Setting(kElement, kRoot, L"Description", XmlValue::Any),
    Part(kElement, kRoot, kExtraSettings, XmlValue::None),
    Part(kElement, kExtraSettings, kExtraSetting, XmlValue::None),
    Part(kAttribute, kExtraSetting, L"Section", XmlValue::Any),
    Part(kAttribute, kExtraSetting, L"Name", XmlValue::Any),
    Part(kAttribute, kExtraSetting, L"Value", XmlValue::Any),
};

/// True for the elements whose attributes are settings.
constexpr bool HoldsAttributes(const XmlItem& item) {
    return item.name == kSettings || item.name == kCurlSsl || item.name == kEventLog;
}

}  // namespace XmlFormat

}  // namespace Zorvane::AgentInstaller
