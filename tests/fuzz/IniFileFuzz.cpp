// INI files: setting an entry changes that entry and nothing else.
#include <algorithm>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "corekit/ini/IniFile.h"
#include "corekit/ini/detail/IniText.h"
#include "corekit/os/Descriptor.h"
#include "tests/fuzz/Property.h"
#include "tests/fuzz/Targets.h"

namespace fuzz {

using KeyCase = corekit::IniFile::KeyCase;
using corekit::IniLine;
using corekit::IniText;
using corekit::String;

namespace {

/// A text, and the entry that is set in it.
struct Edit {
    KeyCase keyCase;
    std::string section;
    std::string key;
    std::string value;
    std::string text;

    explicit Edit(std::string_view input) {
        Parts parts(input);
        keyCase = parts.Next().empty() ? KeyCase::Exact : KeyCase::FallBack;
        section = parts.Next();
        key = parts.Next();
        value = parts.Next();
        text = parts.Rest();
    }
};

std::string Joined(const IniText& lines) {
    std::string text;
    for (const std::string_view piece : lines.Pieces()) text += piece;
    return text;
}

/// The value as it is read back.
std::string InOneLine(std::string value) {
    std::ranges::replace_if(
        value, [](char byte) { return byte == '\n' || byte == '\r' || byte == '\0'; }, ' ');
    return std::string(corekit::TrimIniText(value));
}

std::vector<std::string> EntriesOf(IniText& lines, const std::string& section) {
    std::vector<std::string> entries;
    for (const IniLine& line : lines.Entries(section)) {
        entries.push_back(std::string(line.name) + "=" + std::string(line.value));
    }
    return entries;
}

std::ptrdiff_t LineEnds(std::string_view text) {
    return std::ranges::count(text, '\n');
}

/// What two texts do not have in common: the part of each between the same beginning and the same end.
struct Difference {
    std::string_view before;
    std::string_view after;

    Difference(std::string_view left, std::string_view right) : before(left), after(right) {
        const auto begin = std::ranges::mismatch(before, after).in1 - before.begin();
        before.remove_prefix(static_cast<std::size_t>(begin));
        after.remove_prefix(static_cast<std::size_t>(begin));
        while (!before.empty() && !after.empty() && before.back() == after.back()) {
            before.remove_suffix(1);
            after.remove_suffix(1);
        }
    }
};

void CheckChange(const Edit& edit, bool wasThere, const std::string& after) {
    const Difference difference(edit.text, after);
    if (wasThere) {
        Holds(LineEnds(difference.before) == 0, "setting a value stays within its line");
        Holds(LineEnds(difference.after) == 0, "a value never makes a second line");
    } else {
        Holds(difference.before.empty(), "adding an entry takes nothing away");
        Holds(LineEnds(difference.after) <= 2, "an entry adds its line and a header at most");
    }
}

void CheckOtherEntries(const Edit& edit, bool wasThere, const std::string& after) {
    IniText oldLines(edit.text, edit.keyCase);
    IniText newLines(after, edit.keyCase);
    const std::vector<std::string> before = EntriesOf(oldLines, edit.section);
    const std::vector<std::string> now = EntriesOf(newLines, edit.section);
    Holds(now.size() == before.size() + (wasThere ? 0 : 1), "the section has one entry more, if any");
    std::size_t changed = 0;
    for (std::size_t i = 0; i < before.size(); ++i) changed += before[i] != now[i] ? 1 : 0;
    Holds(changed <= (wasThere ? 1 : 0), "no other entry changes");
}

void CheckSetting(const Edit& edit) {
    IniText lines(edit.text, edit.keyCase);
    Holds(Joined(lines) == edit.text, "a text that nothing is set in stays as it is");
    const bool wasThere = lines.Get(edit.section, edit.key).has_value();
    lines.Set(edit.section, edit.key, edit.value);
    const std::string after = Joined(lines);
    const auto value = lines.Get(edit.section, edit.key);
    if (!value) return Holds(after == edit.text, "what cannot be set changes nothing");

    Holds(*value == InOneLine(edit.value), "what is set is what is got");
    CheckChange(edit, wasThere, after);
    CheckOtherEntries(edit, wasThere, after);

    IniText again(after, edit.keyCase);
    Holds(again.Get(edit.section, edit.key) == InOneLine(edit.value), "what is written is what is read");
    again.Set(edit.section, edit.key, edit.value);
    Holds(Joined(again) == after, "setting the same again changes nothing");
}

/// All entries of the section, and each by itself, are the same.
void CheckReading(const Edit& edit) {
    static const corekit::Descriptor file(memfd_create("ini", 0));
    static const String path = L"/proc/self/fd/" + String::FromInt(file.Get());
    Holds(ftruncate(file.Get(), 0) == 0 && pwrite(file.Get(), edit.text.data(), edit.text.size(), 0) ==
                                               static_cast<ssize_t>(edit.text.size()),
          "the file can be written");
    const corekit::IniFile ini(path, edit.keyCase);
    corekit::IniFile::Entries entries;
    const String section = String::FromUtf8(edit.section);
    ini.GetEntries(section, entries);
    const String breakers(std::wstring(L"\r\0", 2));  // blanks in what is asked for
    for (const auto& [key, value] : entries) {
        if (key.FindOneOf(breakers) != String::npos) continue;
        String single;
        Holds(ini.GetValue(section, key, single) && single == value,
              "a value is the same alone and among all");
    }
}

}  // namespace

void IniFile(std::string_view input) {
    const Edit edit(input);
    CheckSetting(edit);
    CheckReading(edit);
}

}  // namespace fuzz
