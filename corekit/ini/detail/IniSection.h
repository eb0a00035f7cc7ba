// One section of an INI file: its parts of the text and the entries in them.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "corekit/ini/detail/EditedText.h"
#include "corekit/ini/detail/IniIndex.h"

namespace corekit {

/// The lines behind one header or more, up to the next header each. Entries are searched for when the section
/// is first asked for one: most of a large file is never looked at.
class IniSection {
  public:
    using Place = EditedText::Place;

    /// Of sections that are added at the same end of the text, those of lower rank come first.
    IniSection(EditedText& text, std::size_t rank) : m_text(text), m_rank(rank) {}

    /// Lines that belong to it, from `begin` to `end`. While it has no entry, the first is added at `addAt`.
    void AddPart(std::size_t begin, std::size_t end, std::size_t addAt);

    /// The entry with the key, or IniIndex::kNone.
    Place Find(std::string_view key, IniIndex::Match match) { return Index().Find(key, match); }

    /// All entries in order.
    std::vector<Place> Entries() { return Index().Entries(); }

    /// Adds an entry behind the last one.
    void AddEntry(std::string_view key, std::string_view value);

  private:
    struct Part {
        std::size_t begin;
        std::size_t end;
    };
    IniIndex& Index();
    void IndexPart(const Part& part);

    EditedText& m_text;
    std::size_t m_rank;
    std::vector<Part> m_parts;
    std::size_t m_addAt = 0;
    std::optional<IniIndex> m_index;
};

}  // namespace corekit
