// One line of an INI file: telling sections, entries and the rest apart.
#include "corekit/ini/detail/IniLine.h"

namespace corekit {

namespace {

bool IsBlank(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

std::string_view TrimLeft(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    return text;
}

std::string_view TrimRight(std::string_view text) {
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

IniLine ParseSection(std::string_view line) {
    const std::size_t end = line.find(']');
    if (end == std::string_view::npos) return {};
    return {IniLine::Kind::Section, TrimIniText(line.substr(1, end - 1)), {}};
}

IniLine ParseEntry(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return {};
    return {IniLine::Kind::Entry, TrimRight(line.substr(0, equals)), TrimIniText(line.substr(equals + 1))};
}

}  // namespace

std::string_view TrimIniText(std::string_view text) {
    return TrimRight(TrimLeft(text));
}

IniLine ParseIniLine(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    line = TrimLeft(line);
    if (line.empty()) return {};
    switch (line.front()) {
        case '#':
        case ';':
        case '=':
            return {};
        case '[':
            return ParseSection(line);
        default:
            return ParseEntry(line);
    }
}

}  // namespace corekit
