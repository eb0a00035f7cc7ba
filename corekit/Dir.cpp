// Reads and makes directories.
#include "corekit/Dir.h"

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/File.h"
#include "corekit/Path.h"
#include "corekit/SystemCall.h"
#include "corekit/Wildcard.h"

namespace corekit {

namespace {

struct Closed {
    void operator()(DIR* stream) const { closedir(stream); }
};

bool IsDirectory(int directory, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat info {};
    return fstatat(directory, entry.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
}

bool IsSelfOrParent(std::string_view name) {
    return name == "." || name == "..";
}

Result Create(const String& path) {
    if (mkdir(NativePath(path).c_str(), 0755) == 0) return Result();
    const Result failure = Result::FromErrno();
    return File::IsDirectory(path) ? Result() : failure;
}

}  // namespace

struct Dir::Stream {
    std::unique_ptr<DIR, Closed> entries;
    String path;
    std::string pattern;
};

Dir::Dir() = default;
Dir::~Dir() = default;

Result Dir::Open(const String& path, const String& pattern) {
    Descriptor directory = OpenDirectory(NativePath(path));
    if (!directory) return Result::FromErrno();
    std::unique_ptr<DIR, Closed> entries(fdopendir(directory.Get()));
    if (!entries) return Result::FromErrno();
    directory.Release();  // the stream owns it
    m_stream = std::make_unique<Stream>(Stream{std::move(entries), path, NativePath(pattern)});
    return Result();
}

bool Dir::Read(FileInfo& entry) {
    if (!m_stream) return false;
    DIR* const stream = m_stream->entries.get();
    while (const dirent* next = readdir(stream)) {
        if (IsSelfOrParent(next->d_name) || !MatchesWildcard(m_stream->pattern, next->d_name)) continue;
        entry.name = String::FromUtf8(next->d_name);
        entry.path = Path::Join(m_stream->path, entry.name);
        entry.isDirectory = IsDirectory(dirfd(stream), *next);
        return true;
    }
    return false;
}

Result Dir::Scan(const String& path, const String& pattern,
                 const std::function<bool(const FileInfo&)>& visit) {
    Dir directory;
    if (const Result result = directory.Open(path, pattern); !result) return result;
    FileInfo entry;
    while (directory.Read(entry) && visit(entry)) continue;
    return Result();
}

Result Dir::CreateR(const String& path) {
    for (std::size_t slash = path.Find(L"/", 1); slash != String::npos; slash = path.Find(L"/", slash + 1)) {
        if (const Result result = Create(path.Left(slash)); !result) return result;
    }
    return Create(path);
}

Result Dir::GetCurrent(String& path) {
    char* const current = getcwd(nullptr, 0);
    if (current == nullptr) return Result::FromErrno();
    path = String::FromUtf8(current);
    std::free(current);
    return Result();
}

Result Dir::SetCurrent(const String& path) {
    return Outcome(chdir(NativePath(path).c_str()));
}

}  // namespace corekit
