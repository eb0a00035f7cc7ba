// The lines of an INI file: one scan finds sections and entries; what is set becomes edits of the text.
#include "corekit/IniLines.h"

#include <algorithm>
#include <utility>

namespace corekit {

namespace {

std::size_t LengthOfByteOrderMark(std::string_view text) {
    constexpr std::string_view mark = "\xef\xbb\xbf";
    return text.starts_with(mark) ? mark.size() : 0;
}

/// The bytes as they can stand in one line.
std::string OneLine(std::string_view bytes) {
    constexpr std::string_view lineBreakers("\n\r\0", 3);
    std::string line(bytes);
    std::ranges::replace_if(
        line, [&](char byte) { return lineBreakers.find(byte) != lineBreakers.npos; }, ' ');
    return line;
}

std::string Name(std::string_view bytes) {
    return std::string(TrimIniText(OneLine(bytes)));
}

/// Would the names be read back as they were set?
bool CanBeWritten(const std::string& section, const std::string& key) {
    const std::string header = "[" + section + "]";
    const std::string entry = key + "=";
    const IniLine line = ParseIniLine(entry);
    return ParseIniLine(header).name == section && line.kind == IniLine::Kind::Entry && line.name == key;
}

}  // namespace

IniLines::IniLines(std::string text, IniEntries::Match match)
    : m_text(std::move(text)),
      m_start(LengthOfByteOrderMark(m_text)),
      m_match(match),
      m_edits(m_text, m_start) {
    Scan();
}

void IniLines::Scan() {
    const std::string_view text = m_text;
    Section* section = &m_sections.try_emplace("", Section{0, text.size()}).first->second;
    for (std::size_t start = m_start, next = 0; start < text.size(); start = next) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        next = std::min(end + 1, text.size());
        const std::string_view line = text.substr(start, end - start);
        const IniLine parsed = ParseIniLine(line);
        if (parsed.kind == IniLine::Kind::Section) {
            section = &ScanHeader(parsed.name, start, next);
        } else if (parsed.kind == IniLine::Kind::Entry) {
            m_entries.Add(section->number, parsed.name, line);
            section->end = next;
            section->hasEntries = true;
        }
    }
}

IniLines::Section& IniLines::ScanHeader(std::string_view name, std::size_t start, std::size_t end) {
    const bool isFirst = m_sections.size() == 1;
    Section& unnamed = m_sections.begin()->second;
    if (isFirst && !unnamed.hasEntries) unnamed.end = start;

    auto place = m_sections.find(name);
    if (place == m_sections.end()) {
        const auto number = static_cast<std::uint32_t>(m_sections.size());
        place = m_sections.try_emplace(std::string(name), Section{number, end}).first;
    }
    if (!place->second.hasEntries) place->second.end = end;
    return place->second;
}

bool IniLines::Get(std::string_view section, std::string_view key, std::string_view& value) const {
    const std::size_t entry = Find(Name(section), Name(key));
    if (entry != IniEntries::kNone) value = ParseIniLine(m_entries[entry].line).value;
    return entry != IniEntries::kNone;
}

std::size_t IniLines::Find(const std::string& section, const std::string& key) const {
    const auto place = m_sections.find(section);
    return place == m_sections.end() ? IniEntries::kNone : m_entries.Find(place->second.number, key, m_match);
}

std::vector<IniLine> IniLines::Entries(std::string_view section) const {
    std::vector<IniLine> entries;
    const auto place = m_sections.find(Name(section));
    if (place == m_sections.end()) return entries;
    for (const IniEntry& entry : m_entries) {
        if (entry.section == place->second.number) entries.push_back(ParseIniLine(entry.line));
    }
    return entries;
}

void IniLines::Set(std::string_view section, std::string_view key, std::string_view value) {
    const std::string sectionName = Name(section);
    const std::string keyName = Name(key);
    const std::size_t entry = Find(sectionName, keyName);
    if (entry != IniEntries::kNone) {
        ChangeEntry(entry, OneLine(value));
    } else if (CanBeWritten(sectionName, keyName)) {
        AddEntry(SectionOf(sectionName), keyName, OneLine(value));
    }
}

void IniLines::ChangeEntry(std::size_t entry, const std::string& value) {
    const std::string_view line = m_entries[entry].line;
    const std::string_view old = ParseIniLine(line).value;
    std::string changed(line);
    changed.replace(static_cast<std::size_t>(old.data() - line.data()), old.size(), value);

    auto edit = m_editOf.find(entry);
    if (edit == m_editOf.end()) {
        const auto offset = static_cast<std::size_t>(line.data() - m_text.data());
        edit = m_editOf.emplace(entry, m_edits.Replace(offset, line.size())).first;
    }
    m_entries[entry].line = m_edits.SetLine(edit->second, std::move(changed));
}

void IniLines::AddEntry(const Section& section, const std::string& key, const std::string& value) {
    const std::size_t edit = m_edits.Add(section.end, section.rank);
    const std::string_view line = m_edits.SetLine(edit, key + "=" + value);
    m_editOf.emplace(m_entries.Add(section.number, key, line), edit);
}

/// The section, with a header of its own at the end of the text when it has none yet.
const IniLines::Section& IniLines::SectionOf(const std::string& name) {
    const std::size_t count = m_sections.size();
    const auto [place, isNew] =
        m_sections.try_emplace(name, Section{static_cast<std::uint32_t>(count), m_text.size(), count});
    if (isNew) m_edits.SetLine(m_edits.Add(m_text.size(), count), "[" + name + "]");
    return place->second;
}

}  // namespace corekit
