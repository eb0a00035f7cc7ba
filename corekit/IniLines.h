// The lines of an INI file: its text, the sections and entries found in it, and what is set.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "corekit/EditedText.h"
#include "corekit/IniIndex.h"
#include "corekit/IniLine.h"

namespace corekit {

/// Names and values are bytes here. Names are trimmed; line ends and NULs in what is asked for or set count
/// as blanks.
class IniLines {
  public:
    IniLines(std::string text, IniIndex::Match match);
    IniLines(const IniLines&) = delete;
    IniLines& operator=(const IniLines&) = delete;

    /// False when there is no such entry.
    bool Get(std::string_view section, std::string_view key, std::string_view& value) const;

    /// All entries of a section in order.
    std::vector<IniLine> Entries(std::string_view section) const;

    /// Sets an entry, unless no line could hold it.
    void Set(std::string_view section, std::string_view key, std::string_view value);

    /// The text with all that has been set, in pieces (good until the next `Set`).
    std::vector<std::string_view> Pieces() const { return m_text.Pieces(); }

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

    EditedText::Place Find(const std::string& section, const std::string& key) const;
    void ChangeEntry(EditedText::Place place, const std::string& value);

    EditedText m_text;
    IniIndex m_index;
    IniIndex::Match m_match;
    Sections m_sections;
};

}  // namespace corekit
