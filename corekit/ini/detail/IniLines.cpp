// The lines of an INI file: finding the sections; what is set becomes edits of the text.
#include "corekit/ini/detail/IniLines.h"

#include <algorithm>
#include <utility>

namespace corekit {

namespace {

/// The bytes as they can stand in one line.
std::string OneLine(std::string_view bytes) {
    constexpr std::string_view lineBreakers("\n\r\0", 3);
    std::string line(bytes);
    std::ranges::replace_if(
        line, [&](char byte) { return lineBreakers.find(byte) != lineBreakers.npos; }, ' ');
    return line;
}

/// The same without blanks at both ends, as it would be read back.
std::string Trimmed(std::string_view bytes) {
    return std::string(TrimIniText(OneLine(bytes)));
}

/// Would the names be read back as they were set?
bool CanBeWritten(const std::string& section, const std::string& key) {
    const std::string header = "[" + section + "]";
    const std::string entry = key + "=";
    const IniLine line = ParseIniLine(entry);
    return ParseIniLine(header).name == section && line.kind == IniLine::Kind::Entry && line.name == key;
}

/// Would an entry that is added be taken for the mark at the beginning of the text and a line without a name?
bool WouldBeginWithAMark(const std::string& section, const std::string& key) {
    return section.empty() && key.starts_with(EditedText::kByteOrderMark);
}

/// Where the line begins that has nothing but blanks before this offset; npos when it has more.
std::size_t BeginOfIndentedLine(std::string_view text, std::size_t begin, std::size_t offset) {
    const std::size_t last = text.substr(0, offset).find_last_not_of(" \t\v\f\r");
    if (last == text.npos || last < begin) return begin;
    return text[last] == '\n' ? last + 1 : text.npos;
}

}  // namespace

IniLines::IniLines(std::string text, IniIndex::Match match) : m_text(std::move(text)), m_match(match) {
    FindSections();
}

/// Looks for "[" only: most lines of a large file need not be told apart for it.
void IniLines::FindSections() {
    const std::string_view text = m_text.Original();
    std::size_t begin = m_text.Begin();
    IniSection* section = &m_sections.try_emplace("", m_text, 0).first->second;
    bool hasHeader = false;
    const auto endPart = [&](std::size_t end) { section->AddPart(begin, end, hasHeader ? begin : end); };

    for (std::size_t at = text.find('[', begin); at != text.npos; at = text.find('[', at + 1)) {
        const std::size_t lineBegin = BeginOfIndentedLine(text, begin, at);
        if (lineBegin == text.npos) continue;
        const std::size_t lineEnd = std::min(text.find('\n', at), text.size());
        const IniLine line = ParseIniLine(text.substr(at, lineEnd - at));
        if (line.kind != IniLine::Kind::Section) continue;
        endPart(lineBegin);
        section = &m_sections.try_emplace(std::string(line.name), m_text, 0).first->second;
        begin = std::min(lineEnd + 1, text.size());
        hasHeader = true;
        at = lineEnd;
    }
    endPart(text.size());
}

bool IniLines::Get(std::string_view section, std::string_view key, std::string_view& value) {
    IniSection* const found = Find(section);
    const EditedText::Place place = found != nullptr ? found->Find(Trimmed(key), m_match) : IniIndex::kNone;
    if (place != IniIndex::kNone) value = ParseIniLine(m_text.Line(place)).value;
    return place != IniIndex::kNone;
}

IniSection* IniLines::Find(std::string_view name) {
    const auto found = m_sections.find(Trimmed(name));
    return found != m_sections.end() ? &found->second : nullptr;
}

std::vector<IniLine> IniLines::Entries(std::string_view section) {
    std::vector<IniLine> entries;
    IniSection* const found = Find(section);
    if (found == nullptr) return entries;
    for (const EditedText::Place place : found->Entries()) {
        entries.push_back(ParseIniLine(m_text.Line(place)));
    }
    return entries;
}

void IniLines::Set(std::string_view section, std::string_view key, std::string_view value) {
    const std::string sectionName = Trimmed(section);
    const std::string keyName = Trimmed(key);
    if (!CanBeWritten(sectionName, keyName)) return;
    IniSection& home = FindOrAdd(sectionName);
    const EditedText::Place place = home.Find(keyName, m_match);
    if (place != IniIndex::kNone) {
        ChangeValue(place, Trimmed(value));
    } else if (!WouldBeginWithAMark(sectionName, keyName)) {
        home.AddEntry(keyName, Trimmed(value));
    }
}

/// The section, with a header of its own at the end of the text when it has none yet.
IniSection& IniLines::FindOrAdd(const std::string& name) {
    const std::size_t end = m_text.Original().size();
    const std::size_t rank = m_sections.size();
    const auto [section, isNew] = m_sections.try_emplace(name, m_text, rank);
    if (isNew) {
        m_text.AddLine(end, rank, "[" + name + "]");
        section->second.AddPart(end, end, end);
    }
    return section->second;
}

void IniLines::ChangeValue(EditedText::Place place, const std::string& value) {
    const std::string_view line = m_text.Line(place);
    const std::string_view old = ParseIniLine(line).value;
    std::string changed(line);
    changed.replace(static_cast<std::size_t>(old.data() - line.data()), old.size(), value);
    m_text.SetLine(place, std::move(changed));
}

}  // namespace corekit
