// The yardstick for editing client.conf files: a plain filter that passes once over each file. It knows only
// the keys that it is given, and keeps nothing but their values.
//
//   ini-filter carry KEYS OLD NEW    what OLD holds of the KEYS that "ini-edit keys" lists goes into NEW
//   ini-filter set VALUES FILE       sets what VALUES lists: section, key and value, with tabs between them
#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

constexpr std::string_view kNewInstallDir = "/opt/new";

struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
};
template <typename Value>
using Map = std::unordered_map<std::string, Value, Hash, std::equal_to<>>;

/// Values by key, by section.
using Section = Map<std::string>;
using Sections = Map<Section>;

struct Row {
    std::string oldSection;
    std::string oldKey;  // in lower case
    std::string newSection;
    std::string newKey;
    bool isPath = false;
};

void AppendLower(std::string_view text, std::string& lower) {
    for (const char c : text) lower += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::vector<Row> ReadRows(const char* path) {
    std::vector<Row> rows;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        Row row;
        std::string oldKey;
        std::string isPath;
        std::getline(fields, row.oldSection, '/');
        std::getline(fields, oldKey, '\t');
        std::getline(fields, row.newSection, '/');
        std::getline(fields, row.newKey, '\t');
        std::getline(fields, isPath);
        AppendLower(oldKey, row.oldKey);
        row.isPath = isPath == "1";
        rows.push_back(row);
    }
    return rows;
}

std::string ReadFile(const char* path) {
    std::string text;
    if (std::FILE* file = std::fopen(path, "rb")) {
        std::fseek(file, 0, SEEK_END);
        text.resize(static_cast<std::size_t>(std::ftell(file)));
        std::rewind(file);
        text.resize(std::fread(text.data(), 1, text.size(), file));
        std::fclose(file);
    }
    return text;
}

bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

/// Calls `section(name, line)`, `entry(key, value, line)` or `other(line)` for each line; lines come with
/// their ends.
template <typename OnSection, typename OnEntry, typename OnOther>
void ForEachLine(std::string_view text, OnSection section, OnEntry entry, OnOther other) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n') + 1);
        text.remove_prefix(line.size());
        const char first = line.front();
        const std::size_t equals = first == '#' || first == ';' ? line.npos : line.find('=');
        if (first == '[') {
            section(Trim(line.substr(1, line.find(']') - 1)), line);
        } else if (equals != line.npos) {
            entry(Trim(line.substr(0, equals)), Trim(line.substr(equals + 1)), line);
        } else {
            other(line);
        }
    }
}

/// The values of the rows' old keys; of two same keys the first counts.
Sections ReadOldValues(std::string_view text, const std::vector<Row>& rows) {
    Map<Map<const Row*>> wanted;
    for (const Row& row : rows) wanted[row.oldSection][row.oldKey] = &row;
    wanted["Configuration"]["installdir"] = nullptr;
    Sections values;
    const Map<const Row*>* keys = nullptr;
    Section* section = nullptr;
    std::string lower;
    ForEachLine(
        text,
        [&](std::string_view name, std::string_view) {
            const auto found = wanted.find(name);
            keys = found == wanted.end() ? nullptr : &found->second;
            section = &values[std::string(name)];
        },
        [&](std::string_view key, std::string_view value, std::string_view) {
            if (keys == nullptr) return;
            lower.clear();
            AppendLower(key, lower);
            if (keys->contains(lower)) section->try_emplace(lower, value);
        },
        [](std::string_view) {});
    return values;
}

std::string Rebased(const std::string& value, const std::string& oldDir) {
    if (oldDir.empty() || !value.starts_with(oldDir)) return value;
    if (value.size() > oldDir.size() && value[oldDir.size()] != '/') return value;
    return std::string(kNewInstallDir) + value.substr(oldDir.size());
}

/// What goes into the new file when it is carried over: the later row wins.
Sections CarriedValues(Sections& old, const std::vector<Row>& rows) {
    Sections carried;
    const std::string oldDir = old["Configuration"]["installdir"];
    for (const Row& row : rows) {
        const auto value = old[row.oldSection].find(row.oldKey);
        if (value == old[row.oldSection].end()) continue;
        carried[row.newSection][row.newKey] = row.isPath ? Rebased(value->second, oldDir) : value->second;
    }
    return carried;
}

/// The new text: present keys with the carried value, absent ones behind the last entry of their section.
std::string Filtered(std::string_view text, Sections& carried, const std::vector<Row>& rows) {
    std::string output;
    output.reserve(text.size() + text.size() / 16);
    std::string_view sectionName;
    Section* section = nullptr;
    std::string_view held;  // what follows the section's last entry so far
    const auto endSection = [&] {
        for (const Row& row : rows) {
            if (section == nullptr || row.newSection != sectionName) continue;
            if (const auto absent = section->extract(row.newKey))
                output.append(absent.key()).append("=").append(absent.mapped()).append("\n");
        }
        output += std::exchange(held, {});
    };
    ForEachLine(
        text,
        [&](std::string_view name, std::string_view line) {
            endSection();
            sectionName = name;
            const auto found = carried.find(name);
            section = found == carried.end() ? nullptr : &found->second;
            output += line;
        },
        [&](std::string_view key, std::string_view, std::string_view line) {
            output += std::exchange(held, {});
            const auto value = section == nullptr ? Section::iterator() : section->find(key);
            if (section == nullptr || value == section->end()) {
                output += line;
                return;
            }
            output.append(line.substr(0, line.find('=') + 1)).append(value->second).append("\n");
            section->erase(value);
        },
        [&](std::string_view line) {
            held = held.empty() ? line : std::string_view(held.data(), held.size() + line.size());
        });
    endSection();
    return output;
}

bool WriteFile(const std::string& path, const std::string& text) {
    const std::string made = path + ".made";
    std::FILE* file = std::fopen(made.c_str(), "wb");
    if (file == nullptr) return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    return std::fclose(file) == 0 && written && std::rename(made.c_str(), path.c_str()) == 0;
}

int Carry(const char* keysPath, const char* oldPath, const char* newPath) {
    const std::vector<Row> rows = ReadRows(keysPath);
    Sections old = ReadOldValues(ReadFile(oldPath), rows);
    Sections carried = CarriedValues(old, rows);
    return WriteFile(newPath, Filtered(ReadFile(newPath), carried, rows)) ? 0 : 1;
}

int Set(const char* valuesPath, const char* path) {
    std::vector<Row> rows;
    Sections values;
    std::ifstream file(valuesPath);
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        Row row;
        std::getline(fields, row.newSection, '\t');
        std::getline(fields, row.newKey, '\t');
        std::getline(fields, values[row.newSection][row.newKey]);
        rows.push_back(row);
    }
    return WriteFile(path, Filtered(ReadFile(path), values, rows)) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view work = argc > 1 ? argv[1] : "";
    if (argc == 5 && work == "carry") return Carry(argv[2], argv[3], argv[4]);
    if (argc == 4 && work == "set") return Set(argv[2], argv[3]);
    std::fputs("Usage: ini-filter carry KEYS OLD NEW, or ini-filter set VALUES FILE\n", stderr);
    return 2;
}
