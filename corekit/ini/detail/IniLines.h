// The lines of an INI file: its sections, and what is read and set in them.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "corekit/ini/detail/EditedText.h"
#include "corekit/ini/detail/IniIndex.h"
#include "corekit/ini/detail/IniLine.h"
#include "corekit/ini/detail/IniSection.h"

namespace corekit {

/// Names and values are bytes here. Names and values are trimmed; line ends and NULs in what is asked for or
/// set count as blanks.
class IniLines {
  public:
    IniLines(std::string text, IniIndex::Match match);
    IniLines(const IniLines&) = delete;
    IniLines& operator=(const IniLines&) = delete;

    /// False when there is no such entry.
    bool Get(std::string_view section, std::string_view key, std::string_view& value);

    /// All entries of a section in order.
    std::vector<IniLine> Entries(std::string_view section);

    /// Sets an entry, unless no line could hold it.
    void Set(std::string_view section, std::string_view key, std::string_view value);

    /// The text with all that has been set, in pieces (good until the next `Set`).
    std::vector<std::string_view> Pieces() const { return m_text.Pieces(); }

  private:
    using Sections = std::map<std::string, IniSection, std::less<>>;

    void FindSections();
    IniSection* Find(std::string_view name);
    IniSection& FindOrAdd(const std::string& name);
    void ChangeValue(EditedText::Place place, const std::string& value);

    EditedText m_text;
    IniIndex::Match m_match;
    Sections m_sections;
};

}  // namespace corekit
