// The lines of an INI file: its text, the sections and entries found in it, and what is set.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "corekit/IniEntries.h"
#include "corekit/IniLine.h"
#include "corekit/LineEdits.h"

namespace corekit {

/// Names and values are bytes here. Names are trimmed; line ends and NULs in what is asked for or set count
/// as blanks.
class IniLines {
  public:
    IniLines(std::string text, IniEntries::Match match);
    IniLines(const IniLines&) = delete;
    IniLines& operator=(const IniLines&) = delete;

    /// False when there is no such entry.
    bool Get(std::string_view section, std::string_view key, std::string_view& value) const;

    /// The entries of a section; of same keys the first only.
    std::vector<IniLine> Entries(std::string_view section) const;

    /// Sets an entry, unless no line could hold it.
    void Set(std::string_view section, std::string_view key, std::string_view value);

    /// The text with all that has been set.
    std::string Text() const { return m_edits.Joined(); }

  private:
    struct Section {
        std::uint32_t number;
        std::size_t end;       // the offset where entries are added
        std::size_t rank = 0;  // among what is added at that offset; 0 for a section that stands in the text
        bool hasEntries = false;
    };
    using Sections = std::map<std::string, Section, std::less<>>;

    void Scan();
    Section& ScanHeader(std::string_view name, std::size_t start, std::size_t end);
    const Section& SectionOf(const std::string& name);

    std::size_t Find(const std::string& section, const std::string& key) const;
    void ChangeEntry(std::size_t entry, const std::string& value);
    void AddEntry(const Section& section, const std::string& key, const std::string& value);

    std::string m_text;
    std::size_t m_start;  // behind a byte-order mark
    IniEntries::Match m_match;
    Sections m_sections;
    IniEntries m_entries;  // their lines lie in m_text or in m_edits
    LineEdits m_edits;
    std::unordered_map<std::size_t, std::size_t> m_editOf;  // from the entry's number to the edit's
};

}  // namespace corekit
