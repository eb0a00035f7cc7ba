// INI files: reading and writing them, and their entries as text.
#include "corekit/ini/IniFile.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "corekit/fs/File.h"
#include "corekit/ini/detail/IniText.h"

namespace corekit {

namespace {

bool HasOverlongLine(std::string_view bytes) {
    while (bytes.size() > IniFile::kLongestLine) {
        const std::size_t end = bytes.rfind('\n', IniFile::kLongestLine);
        if (end == bytes.npos) return true;
        bytes.remove_prefix(end + 1);
    }
    return false;
}

/// Calls `visit` with each line of the text as it is now, and its number.
template <typename Visit>
void VisitLines(const IniText& text, Visit visit) {
    std::string joined;
    for (const std::string_view piece : text.Pieces()) joined += piece;
    std::string_view rest = joined;
    if (rest.starts_with(EditedText::kByteOrderMark)) rest.remove_prefix(EditedText::kByteOrderMark.size());
    for (std::size_t number = 1; !rest.empty(); ++number) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        visit(ParseIniLine(line), number);
    }
}

}  // namespace

IniFile::IniFile(const String& path, KeyCase keyCase, std::size_t limit) : m_path(path) {
    auto bytes = File::ReadBytes(path);
    m_read = bytes.Outcome();
    Take(bytes ? std::move(*bytes) : std::string(), keyCase, limit);
}

IniFile::IniFile(const String& path, const String& text)
    : m_path(path), m_text(std::make_unique<IniText>(text.Utf8(), KeyCase::Exact)) {}

IniFile::IniFile(const String& path, std::string bytes, KeyCase keyCase, std::size_t limit) : m_path(path) {
    Take(std::move(bytes), keyCase, limit);
}

void IniFile::Take(std::string bytes, KeyCase keyCase, std::size_t limit) {
    if (m_read && (bytes.size() > limit || HasOverlongLine(bytes))) m_read = Result(EFBIG).About(m_path);
    m_text = std::make_unique<IniText>(m_read ? std::move(bytes) : std::string(), keyCase);
}

IniFile::~IniFile() = default;
IniFile::IniFile(IniFile&&) noexcept = default;
IniFile& IniFile::operator=(IniFile&&) noexcept = default;

const String& IniFile::FileName() const {
    return m_path;
}

String IniFile::GetValue(const String& section, const String& key) const {
    String value;
    GetValue(section, key, value);
    return value;
}

bool IniFile::GetValue(const String& section, const String& key, String& value) const {
    const auto bytes = m_text->Get(section.Utf8(), key.Utf8());
    if (bytes) value = String::FromUtf8(*bytes);
    return bytes.has_value();
}

void IniFile::GetEntries(const String& section, Entries& entries) const {
    const std::vector<IniLine> lines = m_text->Entries(section.Utf8());
    // Backwards, so that the first of two same keys is the one that stays.
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        entries[String::FromUtf8(line->name)] = String::FromUtf8(line->value);
    }
}

std::vector<IniFile::Entry> IniFile::AllEntries() const {
    std::vector<Entry> entries;
    String section;
    VisitLines(*m_text, [&](const IniLine& line, std::size_t number) {
        if (line.kind == IniLine::Kind::Section) section = String::FromUtf8(line.name);
        if (line.kind == IniLine::Kind::Entry)
            entries.push_back({section, String::FromUtf8(line.name), String::FromUtf8(line.value), number});
    });
    return entries;
}

std::vector<String> IniFile::Values() const {
    std::vector<String> values;
    VisitLines(*m_text, [&](const IniLine& line, std::size_t) {
        if (line.kind == IniLine::Kind::Entry) values.push_back(String::FromUtf8(line.value));
    });
    return values;
}

std::size_t IniFile::LineOf(const String& section, const String& key) const {
    return m_text->LineOf(section.Utf8(), key.Utf8());
}

void IniFile::SetValue(const String& section, const String& key, const String& value) {
    m_text->Set(section.Utf8(), key.Utf8(), value.Utf8());
}

Result IniFile::Write() const {
    const bool mayBeWritten = m_read || m_read == Result(ENOENT);
    return mayBeWritten ? File::WritePieces(m_path, m_text->Pieces()) : m_read;
}

}  // namespace corekit
