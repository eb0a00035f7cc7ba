// INI files: text in and out of the lines that hold its bytes.
#include "corekit/ini/IniFile.h"

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "corekit/fs/File.h"
#include "corekit/ini/detail/IniLines.h"

namespace corekit {

namespace {

std::unique_ptr<IniLines> Lines(std::string bytes, IniFile::KeyCase keyCase) {
    const bool fallsBack = keyCase == IniFile::KeyCase::FallBack;
    return std::make_unique<IniLines>(std::move(bytes),
                                      fallsBack ? IniIndex::Match::ElseAnyCase : IniIndex::Match::Exact);
}

}  // namespace

IniFile::IniFile(const String& path, KeyCase keyCase) : m_path(path) {
    auto bytes = File::ReadBytes(path);
    m_read = bytes.Outcome();
    m_lines = Lines(bytes ? std::move(*bytes) : std::string(), keyCase);
}

IniFile::IniFile(const String& path, const String& text) : IniFile(path, text.Utf8(), KeyCase::Exact) {}

IniFile::IniFile(const String& path, std::string bytes, KeyCase keyCase)
    : m_path(path), m_lines(Lines(std::move(bytes), keyCase)) {}

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
    std::string_view bytes;
    const bool exists = m_lines->Get(section.Utf8(), key.Utf8(), bytes);
    if (exists) value = String::FromUtf8(bytes);
    return exists;
}

void IniFile::GetEntries(const String& section, Entries& entries) const {
    const std::vector<IniLine> lines = m_lines->Entries(section.Utf8());
    // Backwards, so that the first of two same keys is the one that stays.
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        entries[String::FromUtf8(line->name)] = String::FromUtf8(line->value);
    }
}

void IniFile::SetValue(const String& section, const String& key, const String& value) {
    m_lines->Set(section.Utf8(), key.Utf8(), value.Utf8());
}

Result IniFile::Write() const {
    const bool mayBeWritten = m_read || m_read == Result(ENOENT);
    return mayBeWritten ? File::WritePieces(m_path, m_lines->Pieces()) : m_read;
}

}  // namespace corekit
