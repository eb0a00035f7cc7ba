// INI files, edited line by line: what is not set stays byte for byte.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit {

class IniText;

/// An INI file in memory. Sections of the same name are one section; the first of two same keys counts;
/// comments begin with "#" or ";"; a value is all that follows the first "=", trimmed at both ends. Section
/// names are case-sensitive. Entries before any section belong to section "".
///
/// Setting a present key replaces its value only. A new key goes after its section's last entry (the last of
/// all if the section occurs more than once), a new section to the end of the file. Line ends of a value
/// become blanks. Comments, blank lines, order, indentation, line ends, a byte-order mark and a missing last
/// line end all stay.
class IniFile {
  public:
    enum class KeyCase {
        Exact,
        FallBack,  // a key that is not found exactly is looked up without regard to case
    };
    using Entries = std::map<String, String, Ltstr>;

    static constexpr std::size_t kMiB = std::size_t{1024} * 1024;
    static constexpr std::size_t kLargestFile = 64 * kMiB;
    static constexpr std::size_t kLongestLine = kMiB;

    /// Reads the file. One that is missing, cannot be read, has more than `limit` bytes or a line of more
    /// than kLongestLine is taken as empty; `ReadResult` tells.
    explicit IniFile(const String& path, KeyCase keyCase = KeyCase::Exact, std::size_t limit = kLargestFile);

    /// A file that is yet to be written, and the text that it begins with. Nothing is read.
    IniFile(const String& path, const String& text);

    /// A file whose bytes were read before; the same limits hold.
    IniFile(const String& path, std::string bytes, KeyCase keyCase, std::size_t limit = kLargestFile);

    ~IniFile();
    IniFile(IniFile&&) noexcept;
    IniFile& operator=(IniFile&&) noexcept;

    const String& FileName() const;

    /// How reading the file went; EFBIG if it or a line of it is too long.
    const Result& ReadResult() const { return m_read; }

    /// The value, or "" if the file has no such entry.
    String GetValue(const String& section, const String& key) const;

    /// False, and `value` untouched, if the file has no such entry.
    bool GetValue(const String& section, const String& key, String& value) const;

    /// Adds all entries of a section to the map.
    void GetEntries(const String& section, Entries& entries) const;

    /// An entry as it stands in the file, with what is set in it so far.
    struct Entry {
        String section;
        String key;
        String value;
        std::size_t line = 0;  // its number in the text as it is now
    };

    /// All entries of all sections, in the order of the file, those that another one overrides included.
    std::vector<Entry> AllEntries() const;

    /// The values of all entries, in the same order.
    std::vector<String> Values() const;

    /// The number of the line in the file, as it was read, that gives an entry its value; 0 without one.
    std::size_t LineOf(const String& section, const String& key) const;

    /// Sets an entry, unless no line could hold it: its key is empty, has "=" in it or begins with "#", ";"
    /// or "[", or its section has "]" in it.
    void SetValue(const String& section, const String& key, const String& value);

    /// Replaces the file in one step, as File::Write does. A file that exists but could not be read is not
    /// replaced; the result is then why it could not.
    Result Write() const;

  private:
    void Take(std::string bytes, KeyCase keyCase, std::size_t limit);

    String m_path;
    Result m_read;
    std::unique_ptr<IniText> m_text;
};

}  // namespace corekit
