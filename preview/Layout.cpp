// Lays text out by the width of its characters.
#include "preview/Layout.h"

#include <algorithm>
#include <cstdlib>

#include "corekit/text/Text.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::String;

namespace {

constexpr std::size_t kWidestValue = 44;
constexpr std::size_t kWidestList = 100;

std::size_t Width(const std::string& text) {
    return String::FromUtf8(text).Length();
}

}  // namespace

std::string Padded(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, Width(text)), ' ');
}

std::string Shown(const std::string& text) {
    return corekit::Text::Printable(String::FromUtf8(text)).Utf8();
}

std::string InColumns(const std::vector<Row>& rows) {
    std::string text;
    std::size_t names = 0;
    std::size_t values = 0;
    for (const Row& row : rows) {
        names = std::max(names, Width(row.name));
        values = std::max(values, std::min(kWidestValue, Width(row.value)));
    }
    for (const Row& row : rows) {
        text += "  " + Padded(row.name, names) + "  ";
        text += (row.source.empty() ? row.value : Padded(row.value, values) + "  " + row.source) + "\n";
        for (const std::string& note : row.notes) text += "  " + std::string(names, ' ') + "  " + note + "\n";
    }
    return text;
}

std::string InLines(std::string line, const std::vector<std::string>& items) {
    std::string text;
    for (const std::string& item : items) {
        if (Width(line) + Width(item) + 2 > kWidestList) {
            text += line + "\n";
            line = "   ";
        }
        line += " " + item + (&item == &items.back() ? "" : ",");
    }
    return text + line + "\n";
}

std::string ModeText(const std::string& type, const std::string& octal) {
    const unsigned mode = static_cast<unsigned>(std::strtoul(octal.c_str(), nullptr, 8));
    std::string text = "-rwxrwxrwx";
    for (unsigned bit = 0; bit < 9; ++bit) {
        if ((mode >> (8 - bit) & 1U) == 0) text[bit + 1] = '-';
    }
    if (type == "directory") text[0] = 'd';
    if (type == "link") text[0] = 'l';
    constexpr struct {
        unsigned bit;
        std::size_t at;
        char letter;
    } kSpecial[] = {{04000, 3, 's'}, {02000, 6, 's'}, {01000, 9, 't'}};
    for (const auto& row : kSpecial) {
        if ((mode & row.bit) != 0)
            text[row.at] = text[row.at] == 'x' ? row.letter : static_cast<char>(row.letter - 32);
    }
    return text;
}

}  // namespace Zorvane::AgentInstaller::Preview
