// Tells people what the document tells programs.
#include "preview/TextReport.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "corekit/json/Json.h"
#include "preview/Layout.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::Json;
using corekit::String;

namespace {

struct ActionWord {
    std::string_view action;
    const char* counted;
    const char* colour;
};
constexpr ActionWord kActions[] = {
    {"create", "created", "\033[32m"}, {"replace", "replaced", "\033[33m"}, {"change", "changed", "\033[33m"},
    {"move", "moved", "\033[36m"},     {"remove", "removed", "\033[31m"},
};
constexpr const char* kBold = "\033[1m";
constexpr const char* kPlain = "\033[0m";

std::string Text(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::string SourceKind(const Json& holder) {
    const auto source = holder.find("source");
    return source != holder.end() && source->is_object() ? Text(*source, "kind") : std::string();
}

/// The files that values are from, each under its own name, or its path where another one has the same name.
class SourceFiles {
  public:
    std::string NameOf(const std::string& path) {
        const std::string name = path.substr(path.rfind('/') + 1);
        return m_paths.try_emplace(name, path).first->second == path ? name : path;
    }
    const std::map<std::string, std::string>& Paths() const { return m_paths; }

  private:
    std::map<std::string, std::string> m_paths;  // by name
};

std::string AccessText(const std::string& type, const Json& state) {
    return ModeText(type, Text(state, "mode")) + " " + std::to_string(state.value("uid", 0U)) + ":" +
           std::to_string(state.value("gid", 0U));
}

class Report {
  public:
    Report(const Json& document, Colours colours)
        : m_document(document), m_hasColours(colours == Colours::Terminal) {}

    std::string Make(Output output) {
        AddSettings();
        AddKeys();
        AddSources();
        AddChanges();
        AddDifferences();
        if (output == Output::Shown) AddOutput();
        AddClosing();
        return m_text;
    }

  private:
    std::string Coloured(const std::string& text, const char* colour) const {
        return m_hasColours ? colour + text + kPlain : text;
    }
    void AddTitle(const char* title) { m_text += "\n" + Coloured(title, kBold) + "\n"; }

    std::string SourceText(const Json& holder);
    Row RowOf(const Json& holder, const std::string& name) {
        return {Shown(name), Shown(Text(holder, "value")), SourceText(holder)};
    }
    void AddUnused(const Json& unused, Row& row);
    void AddSettings();
    void AddKeys();
    void AddSources();
    void AddChanges();
    void AddDifferences();
    void AddDiff(const std::string& diff);
    void AddOutput();
    void AddClosing();
    std::string ChangeLine(const Json& change) const;

    const Json& m_document;
    bool m_hasColours;
    SourceFiles m_files;
    std::string m_text;
};

std::string Report::SourceText(const Json& holder) {
    const std::string kind = SourceKind(holder);
    if (kind == "environment") return "variable " + Shown(Text(holder["source"], "variable"));
    if (kind == "option") return "command line";
    if (kind == "package-manager") return "package manager";
    if (kind != "xml" && kind != "installed" && kind != "template") return kind;
    const Json& source = holder["source"];
    const auto line = source.find("line");
    const bool hasLine = line != source.end() && line->is_number();
    return Shown(m_files.NameOf(Text(source, "file"))) +
           (hasLine ? ":" + std::to_string(line->get<unsigned long>()) : "");
}

/// What a setting's value won over: a default beside its source, anything else on a line of its own.
void Report::AddUnused(const Json& unused, Row& row) {
    for (const Json& value : unused) {
        const std::string lost = Shown(Text(value, "value"));
        const std::string source = SourceText(value);
        if (source != "default") {
            row.notes.push_back("not used: ");
            row.notes.back().append(lost).append(" (").append(source).append(")");
        } else if (lost != row.value) {
            row.source.append(" (default: ").append(lost).append(")");
        }
    }
}

/// A setting that has its default is not worth a line of its own, and none at all when that is empty.
void Report::AddSettings() {
    std::vector<Row> rows;
    std::vector<std::string> defaults;
    for (const Json& setting : m_document["settings"]) {
        Row row = RowOf(setting, Text(setting, "name"));
        if (const auto unused = setting.find("unused"); unused != setting.end()) AddUnused(*unused, row);
        if (SourceKind(setting) != "default" || !row.notes.empty()) {
            rows.push_back(std::move(row));
        } else if (!row.value.empty()) {
            defaults.push_back(row.name + " " + row.value);
        }
    }
    if (rows.empty() && defaults.empty()) return;
    AddTitle("Settings");
    m_text += InColumns(rows);
    if (!defaults.empty()) m_text += InLines("  by default:", defaults);
}

/// The keys that have values of their own: neither a setting's nor what the package's template has. Of the
/// others there are only the numbers.
void Report::AddKeys() {
    if (!m_document["client_conf"].is_object()) return;
    std::vector<Row> rows;
    std::size_t fromSettings = 0;
    std::size_t usual = 0;
    for (const Json& key : m_document["client_conf"]["keys"]) {
        const std::string kind = Text(key["source"], "kind");
        if (kind == "setting") {
            ++fromSettings;
        } else if (kind == "template" || key.value("usual", false)) {
            ++usual;
        } else {
            rows.push_back(RowOf(key, "[" + Text(key, "section") + "] " + Text(key, "key")));
        }
    }
    AddTitle("Keys of client.conf");
    m_text += InColumns(rows);
    m_text += std::string("  ") + (rows.empty() ? "" : "and ") + std::to_string(fromSettings) +
              " from the settings, " + std::to_string(usual) + " as in the package's template\n";
}

void Report::AddSources() {
    if (m_files.Paths().empty()) return;
    AddTitle("Sources");
    std::vector<Row> rows;
    for (const auto& [name, path] : m_files.Paths()) rows.push_back({Shown(name), Shown(path), ""});
    m_text += InColumns(rows);
}

std::string Report::ChangeLine(const Json& change) const {
    const std::string action = Text(change, "action");
    const std::string type = Text(change, "type");
    const auto* const word = std::ranges::find(kActions, action, &ActionWord::action);
    const Json& shown = change["after"].is_null() ? change["before"] : change["after"];
    std::string line = "  " + Coloured(Padded(action, 7), word == std::end(kActions) ? "" : word->colour) +
                       "  " + AccessText(type, shown) + "  " + Shown(Text(change, "path"));
    if (const std::string to = Text(change, "to"); !to.empty()) line += " => " + Shown(to);
    if (const std::string target = Text(shown, "target"); !target.empty()) line += " -> " + Shown(target);
    if (action == "change" && AccessText(type, change["before"]) != AccessText(type, shown))
        line += " (was " + AccessText(type, change["before"]) + ")";
    const auto entries = change.find("entries");
    if (entries != change.end() && entries->is_number() && *entries != 0)
        line += " (with " + std::to_string(entries->get<std::uint64_t>()) +
                (*entries == 1 ? " entry)" : " entries)");
    return line + "\n";
}

void Report::AddChanges() {
    if (m_document["changes"].empty()) return;
    AddTitle("Changes");
    for (const Json& change : m_document["changes"]) m_text += ChangeLine(change);
}

void Report::AddDifferences() {
    bool isFirst = true;
    for (const Json& change : m_document["changes"]) {
        // What is created or goes is told by its line: its text would fill the screen.
        if (Text(change, "action") != "replace" || Text(change, "diff").empty()) continue;
        if (std::exchange(isFirst, false)) AddTitle("Differences");
        AddDiff(Text(change, "diff"));
    }
}

void Report::AddDiff(const std::string& diff) {
    for (std::size_t at = 0; at < diff.size();) {
        const std::size_t end = std::min(diff.find('\n', at), diff.size());
        const std::string line = Shown(diff.substr(at, end - at));
        at = end + 1;
        const char sign = line.empty() ? ' ' : line.front();
        const char* colour = sign == '+'   ? "\033[32m"
                             : sign == '-' ? "\033[31m"
                             : sign == '@' ? "\033[36m"
                                           : nullptr;
        m_text += (colour == nullptr ? line : Coloured(line, colour)) + "\n";
    }
}

void Report::AddOutput() {
    const std::string output = Text(m_document, "output");
    const std::string own =
        output.substr(std::min(output.find('\n'), output.size() - 1) + 1);  // without the banner
    if (own.empty()) return;
    AddTitle("Output of the command");
    m_text += own + (own.ends_with('\n') ? "" : "\n");
}

void Report::AddClosing() {
    if (!m_text.ends_with("\n\n")) m_text += "\n";
    const Json& changes = m_document["changes"];
    m_text += changes.empty()
                  ? "Nothing would change"
                  : std::to_string(changes.size()) + (changes.size() == 1 ? " change" : " changes");
    const char* separator = ": ";
    for (const ActionWord& word : kActions) {
        const auto count = std::ranges::count_if(
            changes, [&](const Json& change) { return Text(change, "action") == word.action; });
        if (count == 0) continue;
        m_text += std::exchange(separator, ", ") + std::to_string(count) + " " + word.counted;
    }
    m_text += ". ";
    if (m_document["agent"].value("stop", false)) m_text += "The agent would be stopped. ";
    if (m_document["agent"].value("start", false)) m_text += "The agent would be started. ";
    const int status = m_document.value("status", 1);
    m_text += std::string("The command would ") + (status == 0 ? "succeed" : "fail") + " (status " +
              std::to_string(status) + ").\n";
    if (const std::string refused = Text(m_document, "refused"); !refused.empty())
        m_text += "Right now it would do nothing: " + refused + "\n";
}

}  // namespace

String TextReport(const Json& document, Colours colours, Output output) {
    return String::FromUtf8(Report(document, colours).Make(output));
}

}  // namespace Zorvane::AgentInstaller::Preview
