// The lines of an INI file: one scan finds sections and entries; what is set becomes edits of the text.
#include "corekit/IniLines.h"

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

IniLines::IniLines(std::string text, IniIndex::Match match)
    : m_text(std::move(text)), m_index(m_text), m_match(match) {
    Scan();
}

void IniLines::Scan() {
    const std::string_view text = m_text.Original();
    Section* section = &m_sections.try_emplace("", Section{0, text.size()}).first->second;
    for (std::size_t start = m_text.Begin(), next = 0; start < text.size(); start = next) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        next = std::min(end + 1, text.size());
        const IniLine line = ParseIniLine(text.substr(start, end - start));
        if (line.kind == IniLine::Kind::Section) {
            section = &ScanHeader(line.name, start, next);
        } else if (line.kind == IniLine::Kind::Entry) {
            m_index.Add(section->number, line.name, start);
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
    const EditedText::Place place = Find(Name(section), Name(key));
    if (place != IniIndex::kNone) value = ParseIniLine(m_text.Line(place)).value;
    return place != IniIndex::kNone;
}

EditedText::Place IniLines::Find(const std::string& section, const std::string& key) const {
    const auto known = m_sections.find(section);
    return known == m_sections.end() ? IniIndex::kNone : m_index.Find(known->second.number, key, m_match);
}

std::vector<IniLine> IniLines::Entries(std::string_view section) const {
    std::vector<IniLine> entries;
    const auto known = m_sections.find(Name(section));
    if (known == m_sections.end()) return entries;
    for (const EditedText::Place place : m_index.Entries(known->second.number)) {
        entries.push_back(ParseIniLine(m_text.Line(place)));
    }
    return entries;
}

void IniLines::Set(std::string_view section, std::string_view key, std::string_view value) {
    const std::string sectionName = Name(section);
    const std::string keyName = Name(key);
    const EditedText::Place place = Find(sectionName, keyName);
    if (place != IniIndex::kNone) {
        ChangeEntry(place, OneLine(value));
    } else if (CanBeWritten(sectionName, keyName)) {
        const Section& home = SectionOf(sectionName);
        m_index.Add(home.number, keyName,
                    m_text.AddLine(home.end, home.rank, keyName + "=" + OneLine(value)));
    }
}

void IniLines::ChangeEntry(EditedText::Place place, const std::string& value) {
    const std::string_view line = m_text.Line(place);
    const std::string_view old = ParseIniLine(line).value;
    std::string changed(line);
    changed.replace(static_cast<std::size_t>(old.data() - line.data()), old.size(), value);
    m_text.SetLine(place, std::move(changed));
}

/// The section, with a header of its own at the end of the text when it has none yet.
const IniLines::Section& IniLines::SectionOf(const std::string& name) {
    const std::size_t end = m_text.Original().size();
    const std::size_t count = m_sections.size();
    const auto [known, isNew] =
        m_sections.try_emplace(name, Section{static_cast<std::uint32_t>(count), end, count});
    if (isNew) m_text.AddLine(end, count, "[" + name + "]");
    return known->second;
}

}  // namespace corekit
