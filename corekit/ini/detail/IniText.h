// The text of an INI file: its sections, the way to their entries, and what is set in them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "corekit/ini/IniFile.h"
#include "corekit/ini/detail/EditedText.h"

namespace corekit {

/// One section: the lines after one header or more, up to the next header each, and an index of their
/// entries.
///
/// The index is there because a section may have a million entries, of which a run looks up a hundred:
/// walking all of them for each would take minutes, and a hash table of them is slower to fill than the file
/// is to read. So each key is hashed (without regard to ASCII case, which serves both ways of looking it up),
/// and its hash appended to one of a few buckets, all of which stay in the processor's cache. A look-up walks
/// one bucket and compares hashes before keys. The index is made when the section is first asked for an
/// entry: most sections of a large file never are.
class IniSection {
  public:
    using Place = EditedText::Place;
    static constexpr Place kNone = static_cast<Place>(-1);

    /// A section of a text, which outlives it. Of sections that are added at the same end of the text, those
    /// of lower rank come first.
    IniSection(EditedText& text, std::size_t rank) : m_text(text), m_rank(rank) {}

    /// Adds the lines from `begin` to `end`. If the section has no entry, its first one is added at `addAt`.
    void AddPart(std::size_t begin, std::size_t end, std::size_t addAt);

    /// The first entry with the key, else (KeyCase::FallBack) the first whose key differs in case only, else
    /// kNone.
    Place Find(std::string_view key, IniFile::KeyCase keyCase);

    /// All entries in the order of the text.
    std::vector<Place> Entries();

    /// Adds an entry after the last one.
    void AddEntry(std::string_view key, std::string_view value);

  private:
    struct Part {
        std::size_t begin;
        std::size_t end;
    };
    struct Item {
        std::uint32_t hash;
        std::uint32_t place;  // wide enough for every file that is read
    };
    using Bucket = std::deque<Item>;

    void MakeIndex();
    void IndexPart(const Part& part);
    Bucket& BucketOf(std::uint32_t hash) { return m_buckets[hash & (m_buckets.size() - 1)]; }

    EditedText& m_text;
    std::size_t m_rank;
    std::vector<Part> m_parts;
    std::size_t m_addAt = 0;
    std::vector<Bucket> m_buckets;  // a power of two; empty until the index is made
};

/// The whole text. Names and values are bytes here; both are trimmed, and line ends and NULs in them count as
/// blanks.
class IniText {
  public:
    IniText(std::string text, IniFile::KeyCase keyCase);
    IniText(const IniText&) = delete;
    IniText& operator=(const IniText&) = delete;

    /// The value of an entry, valid until the next `Set`; none if there is no such entry.
    std::optional<std::string_view> Get(std::string_view section, std::string_view key);

    /// The number of the original line of an entry, from 1; 0 for one that is not there or was added.
    std::size_t LineOf(std::string_view section, std::string_view key);

    /// All entries of a section in the order of the text.
    std::vector<IniLine> Entries(std::string_view section);

    /// Sets an entry, unless no line could hold it.
    void Set(std::string_view section, std::string_view key, std::string_view value);

    /// The text with all that has been set, in pieces that are valid until the next `Set`.
    std::vector<std::string_view> Pieces() const { return m_text.Pieces(); }

  private:
    void FindSections();
    IniSection* Find(std::string_view name);
    EditedText::Place Find(std::string_view section, std::string_view key);
    IniSection& FindOrAdd(const std::string& name);
    void ChangeValue(EditedText::Place place, const std::string& value);

    EditedText m_text;
    IniFile::KeyCase m_keyCase;
    std::map<std::string, IniSection, std::less<>> m_sections;
    std::vector<std::size_t> m_lineEndsBefore{0};  // each kTextPerCount bytes, as far as was asked for
};

}  // namespace corekit
