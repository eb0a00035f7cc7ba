// Makes, commits and withdraws replacement files.
#include "corekit/fs/detail/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/detail/TempName.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

AtomicFile::~AtomicFile() {
    if (!m_temporaryName.empty()) unlinkat(m_target.directory, m_temporaryName.c_str(), 0);
}

Result AtomicFile::Begin() {
    const auto present = StatOf(m_target.directory, m_target.name);
    if (present && S_ISDIR(present->st_mode)) return Result(EISDIR);
    std::string name;
    const Result result = MakeBeside(m_target, name, [&](const std::string& candidate) {
        auto file = OpenAt(m_target.directory, candidate, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
        if (file) m_file = std::move(*file);
        return file.Outcome();
    });
    if (result) m_temporaryName = name;
    return result;
}

Result AtomicFile::Commit() {
    if (const Result result = Flush(m_file.Get()); !result) return result;
    if (renameat(m_target.directory, m_temporaryName.c_str(), m_target.directory, m_target.name.c_str()) != 0)
        return Result::FromErrno();
    m_temporaryName.clear();
    return Flush(m_target.directory);
}

}  // namespace corekit
