// Service scripts: their place, their macros, and the comment header that the host's tools read.
#include "deploykit/ServiceScript.h"

#include "corekit/text/Text.h"

namespace deploykit {

using corekit::String;
using corekit::StringTokenizer;

namespace {

constexpr const wchar_t* kDefaultStart = L"Default-Start";
constexpr const wchar_t* kDefaultStop = L"Default-Stop";
constexpr const wchar_t* kChkconfig = L"chkconfig";

bool IsHeaderLine(const String& line) {
    return line.StartsWith(L"#") || line.Trim().IsEmpty();
}

/// True, and the value, when the line is "# KEYWORD: value".
bool ReadField(const String& line, const String& keyword, String& value) {
    if (!line.StartsWith(L"#")) return false;
    const String field = line.Mid(1).TrimLeft();
    if (!field.StartsWith(keyword + L":")) return false;
    value = field.Mid(keyword.Length() + 1).Trim();
    return true;
}

String FieldLine(const String& keyword, const String& value) {
    return (L"# " + keyword + L": " + value).TrimRight();
}

String Spaced(const String& digits) {
    String list;
    for (const wchar_t digit : digits) {
        if (!list.IsEmpty()) list += L' ';
        list += digit;
    }
    return list;
}

/// The value of a chkconfig line, such as "235 90 10", with other levels; "-" stands for none.
String ChkconfigValue(const String& value, const String& levels) {
    return (levels.IsEmpty() ? String(L"-") : levels) + value.Mid(value.FindOneOf(L" \t"));
}

String WithLevels(const String& line, const ServiceLevels& levels) {
    String value;
    if (ReadField(line, kDefaultStart, value)) return FieldLine(kDefaultStart, Spaced(levels.start));
    if (ReadField(line, kDefaultStop, value)) return FieldLine(kDefaultStop, Spaced(levels.stop));
    if (ReadField(line, kChkconfig, value)) return FieldLine(kChkconfig, ChkconfigValue(value, levels.start));
    return line;
}

}  // namespace

String ServiceScriptPath(const String& name) {
    return L"/etc/init.d/" + name;
}

String ExpandServiceTemplate(const String& text, const String& installDir, const ServiceLevels& levels) {
    String expanded = text;
    expanded.Replace(L"%ETCDIR%", L"%INSTDIR%/etc").Replace(L"%INSTDIR%", installDir);

    String script;
    String line;
    bool isFirst = true;
    bool inHeader = true;
    StringTokenizer lines(expanded, L"\n");
    while (lines.GetToken(line)) {
        if (!isFirst) script += L'\n';
        inHeader = inHeader && IsHeaderLine(line);
        script += inHeader ? WithLevels(line, levels) : line;
        isFirst = false;
    }
    return script;
}

String ServiceHeaderField(const String& script, const String& keyword) {
    String line;
    String value;
    StringTokenizer lines(script, L"\n");
    while (lines.GetToken(line) && IsHeaderLine(line)) {
        if (ReadField(line, keyword, value)) return value;
    }
    return String();
}

}  // namespace deploykit
