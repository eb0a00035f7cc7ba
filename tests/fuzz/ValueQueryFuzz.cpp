// The value query: what the host's tools find in a file is what the file says.
#include <algorithm>

#include "agents/removal/ProcessControl.h"
#include "tests/fuzz/Property.h"
#include "tests/fuzz/Targets.h"
#include "tests/fuzz/TempPlace.h"

namespace fuzz {

using corekit::String;

namespace {

constexpr std::string_view kKey = "bindir";

std::string_view WithoutBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text;
}

/// What the first line says that begins with the key; nothing where a NUL shows that the file is damaged.
String ValueIn(std::string_view text) {
    if (text.find('\0') != text.npos) return String();
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!WithoutBlanks(line).starts_with(kKey)) continue;
        const std::size_t equals = line.find('=');
        return String::FromUtf8(equals == line.npos ? line : WithoutBlanks(line.substr(equals + 1)))
            .Replace(L"//", L"/")
            .Trim();
    }
    return String();
}

}  // namespace

void ValueQuery(std::string_view input) {
    static const TempPlace place;
    Parts parts(input);
    const std::string name = "q" + std::string(parts.Next().substr(0, 100));
    const bool isName = name.find_first_of(std::string_view("/\0", 2)) == name.npos;
    place.Write(isName ? name : "q", parts.Rest());
    const String found = Zorvane::AgentInstaller::QueryValue(String::FromUtf8(kKey),
                                                             String::FromUtf8(place / (isName ? name : "q")));
    place.Remove(isName ? name : "q");
    Holds(found == ValueIn(parts.Rest()), "the value is the one that the file has");
}

}  // namespace fuzz
