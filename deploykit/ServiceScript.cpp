// Service scripts: their place, their macros, and the comment header that the host's tools read.
#include "deploykit/ServiceScript.h"

#include <optional>

#include "corekit/text/Text.h"

namespace deploykit {

using corekit::String;
using corekit::StringTokenizer;

namespace {

constexpr const wchar_t* kDefaultStart = L"Default-Start";
constexpr const wchar_t* kDefaultStop = L"Default-Stop";
constexpr const wchar_t* kChkconfig = L"chkconfig";
constexpr const wchar_t* kPidFile = L"pidfile";

constexpr const wchar_t* kBlockBegin = L"### BEGIN INIT INFO";
constexpr const wchar_t* kBlockEnd = L"### END INIT INFO";

/// Walks the lines of a script and tells which fields count on each: those of the LSB header within its block
/// (in a script without a block: before its first line of code), those that chkconfig reads on every comment
/// line.
class HeaderReader {
  public:
    explicit HeaderReader(const String& script)
        : m_lines(script, L"\n"), m_hasBlock((L"\n" + script).Contains(L"\n" + String(kBlockBegin))) {}

    /// The next line into `line`; false at the end.
    bool GetLine(String& line) {
        if (!m_lines.GetToken(line)) return false;
        const bool isComment = line.StartsWith(L"#") || line.Trim().IsEmpty();
        if (m_hasBlock) {
            m_isLsb = isComment && (m_isLsb || line.StartsWith(kBlockBegin)) && !line.StartsWith(kBlockEnd);
        } else {
            m_isLsb = m_isLsb && isComment;
        }
        return true;
    }

    /// The value of the last line, `line`, if that is "# KEYWORD: value" and the keyword counts there.
    std::optional<String> Field(const String& line, const String& keyword) const {
        const bool countsAnywhere = keyword == kChkconfig || keyword == kPidFile;
        if (!line.StartsWith(L"#") || !(m_isLsb || countsAnywhere)) return std::nullopt;
        const String field = line.Mid(1).TrimLeft();
        if (!field.StartsWith(keyword + L":")) return std::nullopt;
        return field.Mid(keyword.Length() + 1).Trim();
    }

  private:
    StringTokenizer m_lines;
    bool m_hasBlock;
    bool m_isLsb = !m_hasBlock;  // true if fields of the LSB header count on the last line
};

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

String WithLevels(const HeaderReader& header, const String& line, const ServiceLevels& levels) {
    if (header.Field(line, kDefaultStart)) return FieldLine(kDefaultStart, Spaced(levels.start));
    if (header.Field(line, kDefaultStop)) return FieldLine(kDefaultStop, Spaced(levels.stop));
    if (const auto value = header.Field(line, kChkconfig))
        return FieldLine(kChkconfig, ChkconfigValue(*value, levels.start));
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
    HeaderReader header(expanded);
    for (bool isFirst = true; header.GetLine(line); isFirst = false) {
        if (!isFirst) script += L'\n';
        script += WithLevels(header, line, levels);
    }
    return script;
}

String ServiceHeaderField(const String& script, const String& keyword) {
    String line;
    HeaderReader header(script);
    while (header.GetLine(line)) {
        if (const auto value = header.Field(line, keyword)) return *value;
    }
    return String();
}

}  // namespace deploykit
