// Run levels: what a text starts and what it stops are all levels, none twice.
#include <algorithm>

#include "config/SystemProbes.h"
#include "deploykit/ServiceScript.h"
#include "tests/fuzz/Property.h"
#include "tests/fuzz/Targets.h"

namespace fuzz {

using corekit::String;

namespace {

/// The supported levels that the text names (or those that it does not), with something behind each.
String Levels(const String& text, bool named, const String& separator) {
    String levels;
    for (wchar_t level = L'0'; level <= L'6'; ++level) {
        const bool isNamed = text.View().find(level) != std::wstring_view::npos;
        if (isNamed == named) levels += String(std::wstring(1, level)) + separator;
    }
    return levels;
}

}  // namespace

void RunLevels(std::string_view input) {
    Parts parts(input);
    const String text = String::FromUtf8(parts.Next());
    const auto split = Zorvane::AgentInstaller::SplitRunLevels(text);
    if (text.FindOneOf(L"012345678") == String::npos) {
        Holds(split.startDigits.IsEmpty() && split.startList.IsEmpty() && split.stopList.IsEmpty(),
              "no level, no lists");
    } else {
        Holds(split.startDigits == Levels(text, true, L""), "the digits are the levels of the text");
        Holds(split.startList == Levels(text, true, L" ").Trim(),
              "the service starts in the levels of the text");
        Holds(split.stopList == Levels(text, false, L" ").Trim(), "the service stops in all others");
    }

    const String script = String::FromUtf8(parts.Rest());
    const deploykit::ServiceLevels levels = {split.startDigits, Levels(text, false, L"")};
    const String once = deploykit::ExpandServiceTemplate(script, L"/opt/agent", levels);
    Holds(deploykit::ExpandServiceTemplate(once, L"/opt/agent", levels) == once,
          "a script that has its levels keeps them");
    Holds(!once.Contains(L"%INSTDIR%") && !once.Contains(L"%ETCDIR%"), "no macro stays");
    Holds(std::ranges::count(once, L'\n') == std::ranges::count(script, L'\n'), "a script keeps its lines");
}

}  // namespace fuzz
