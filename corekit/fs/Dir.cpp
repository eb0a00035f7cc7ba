// Reads and makes directories.
#include "corekit/fs/Dir.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "corekit/fs/File.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/Path.h"
#include "corekit/fs/detail/DirectoryBatch.h"
#include "corekit/os/SystemCall.h"
#include "corekit/text/Regex.h"

namespace corekit {

namespace {

Result Create(const String& path) {
    const auto place = ParentDirectory::Of(path);
    const Result made = place ? Outcome(mkdirat(place->Fd(), place->name.c_str(), 0755)) : place.error();
    return made || !File::IsDirectory(path) ? made.About(path) : Result();
}

}  // namespace

struct Dir::Stream {
    Descriptor directory;
    String path;
    std::string pattern;
    DirectoryBatch batch;
    const DirEntry* next = nullptr;
    Result result;

    /// Null at the end, and where the rest cannot be read.
    const DirEntry* Next() {
        while (next == batch.end() && !batch.IsEnd()) {
            result = batch.Read(directory.Get());
            next = batch.begin();
        }
        return next == batch.end() ? nullptr : next++;
    }
};

Dir::Dir() = default;
Dir::~Dir() = default;

Result Dir::Open(const String& path, const String& pattern) {
    auto directory = OpenDirectory(path);
    if (!directory) return directory.error().About(path);
    m_stream = std::make_unique<Stream>();
    m_stream->directory = std::move(*directory);
    m_stream->path = path;
    m_stream->pattern = pattern.Utf8();
    m_stream->next = m_stream->batch.end();
    return Result();
}

bool Dir::Read(FileInfo& entry) {
    const DirEntry* next = m_stream ? m_stream->Next() : nullptr;
    while (next != nullptr && !MatchesWildcard(m_stream->pattern, next->name)) next = m_stream->Next();
    if (next == nullptr) return false;
    entry.name = String::FromUtf8(next->name);
    entry.path = Path::Join(m_stream->path, entry.name);
    entry.isDirectory = IsDirectory(m_stream->directory.Get(), *next);
    return true;
}

Result Dir::ReadResult() const {
    return m_stream ? m_stream->result.About(m_stream->path) : Result();
}

Result Dir::Scan(const String& path, const String& pattern,
                 const std::function<bool(const FileInfo&)>& visit) {
    Dir directory;
    if (const Result result = directory.Open(path, pattern); !result) return result;
    FileInfo entry;
    while (directory.Read(entry) && visit(entry)) continue;
    return directory.ReadResult();
}

Result Dir::ReadEntries(const String& path, const String& pattern, std::vector<FileInfo>& entries) {
    return Scan(path, pattern, [&](const FileInfo& entry) {
        entries.push_back(entry);
        return true;
    });
}

std::vector<FileInfo> Dir::Entries(const String& path, const String& pattern) {
    std::vector<FileInfo> entries;
    Forgive(ReadEntries(path, pattern, entries));  // the caller takes for absent what cannot be read
    return entries;
}

Result Dir::CreateR(const String& path) {
    const Result result = Create(path);
    // EISDIR: a "." or ".." at the end is there once the directory before it is.
    const bool mayBeAbove = result == Result(ENOENT) || result == Result(ENOTDIR) || result == Result(EISDIR);
    const std::size_t slash = path.FindLast(L"/");
    if (!mayBeAbove || slash == String::npos) return result;
    const Result above = CreateR(path.Left(slash));
    return above ? Create(path) : above;
}

Result Dir::FlushEntries(const String& path) {
    const auto directory = OpenDirectory(path);
    return (directory ? Flush(directory->Get()) : directory.error()).About(path);
}

Expected<String> Dir::GetCurrent() {
    char* const current = getcwd(nullptr, 0);
    if (current == nullptr) return Result::FromErrno();
    String path = String::FromUtf8(current);
    std::free(current);
    return path;
}

Result Dir::SetCurrent(const String& path) {
    const auto directory = OpenDirectory(path);
    return (directory ? Outcome(fchdir(directory->Get())) : directory.error()).About(path);
}

}  // namespace corekit
