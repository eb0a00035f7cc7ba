// One line of an INI file, taken apart.
#pragma once

#include <string_view>

namespace corekit {

/// The parts of a line (given without its "\n"); they are views into it.
struct IniLine {
    enum class Kind {
        Section,  // [name], with blanks anywhere around the name; what follows "]" does not count
        Entry,    // key=value; the key is not empty
        Other,    // blank, comment or junk
    };
    Kind kind = Kind::Other;
    std::string_view name;   // of the section, or the key; trimmed
    std::string_view value;  // trimmed; an empty one stands behind the blanks that follow "="
};

IniLine ParseIniLine(std::string_view line);

/// Without the blanks at both ends, as names and values are.
std::string_view TrimIniText(std::string_view text);

}  // namespace corekit
