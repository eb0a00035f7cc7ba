// INI files, edited line by line: what is not set stays byte for byte.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit {

class IniLines;

/// An INI file in memory. Sections of the same name are one section; of two same keys the first counts;
/// comments begin with "#" or ";"; a value is all that follows the first "=", trimmed at both ends. Section
/// names are case-sensitive. Setting a present key replaces its value only; a new key goes after its
/// section's last entry (where the section occurs more than once: the last of all), a new section to the end;
/// entries before any section belong to section "". Line ends of a value become blanks. Comments, blank
/// lines, order, indentation, line ends, a byte-order mark and a missing last line end all stay.
class IniFile {
  public:
    enum class KeyCase {
        Exact,
        FallBack,  // a key that is not found exactly is looked up without regard to case (files of old
                   // agents)
    };
    using Entries = std::map<String, String, Ltstr>;

    /// Reads the file; one that is missing or cannot be read is empty.
    explicit IniFile(const String& path, KeyCase keyCase = KeyCase::Exact);
    /// A file that is yet to be written, and the text that it begins with: nothing is read.
    IniFile(const String& path, const String& text);
    /// What was read of a file before.
    IniFile(const String& path, std::string bytes, KeyCase keyCase);
    ~IniFile();
    IniFile(IniFile&&) noexcept;
    IniFile& operator=(IniFile&&) noexcept;

    const String& FileName() const;

    /// How reading the file went.
    const Result& ReadResult() const { return m_read; }

    /// The value; "" when the file has no such entry.
    String GetValue(const String& section, const String& key) const;

    /// False, and `value` untouched, when the file has no such entry.
    bool GetValue(const String& section, const String& key, String& value) const;

    /// Adds all entries of a section to the map.
    void GetEntries(const String& section, Entries& entries) const;

    /// An entry that no line could hold is left out: one whose key is empty, has "=" in it or begins with
    /// "#", ";" or "[", or whose section has "]" in it.
    void SetValue(const String& section, const String& key, const String& value);

    /// Replaces the file in one step (see File::Write). A file that is there but could not be read is not
    /// replaced: the result is why.
    Result Write() const;

  private:
    String m_path;
    Result m_read;
    std::unique_ptr<IniLines> m_lines;
};

}  // namespace corekit
