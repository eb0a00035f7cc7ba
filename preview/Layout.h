// How lines of a report are laid out: columns, lists, and the modes of files.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Zorvane::AgentInstaller::Preview {

/// The text with what would steer a terminal escaped.
std::string Shown(const std::string& text);

/// The text with blanks behind it, as far as it is narrower than so many characters.
std::string Padded(const std::string& text, std::size_t width);

/// A value and where it is from; notes stand on lines of their own below it.
struct Row {
    std::string name;
    std::string value;
    std::string source;
    std::vector<std::string> notes = {};
};

/// The rows, one a line, their columns aligned. A column is no wider than its widest text; only a long value
/// goes beyond its column.
std::string InColumns(const std::vector<Row>& rows);

/// Items with commas between, behind a heading, on as many lines as they take.
std::string InLines(std::string line, const std::vector<std::string>& items);

/// "-rwxr-xr-x", as ls shows the mode of a file of this type.
std::string ModeText(const std::string& type, const std::string& octal);

}  // namespace Zorvane::AgentInstaller::Preview
