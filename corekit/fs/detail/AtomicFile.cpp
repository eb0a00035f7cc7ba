// Makes, commits and withdraws replacement files.
#include "corekit/fs/detail/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "corekit/fs/detail/TempName.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

AtomicFile::~AtomicFile() {
    if (!m_temporaryName.empty()) unlinkat(m_target.directory, m_temporaryName.c_str(), 0);
}

Result AtomicFile::Begin() {
    const auto present = StatOf(m_target.directory, m_target.name);
    if (!present && present != Result(ENOENT)) return present.error();
    if (present) m_replaced = *present;
    if (m_replaced && S_ISDIR(m_replaced->st_mode)) return Result(EISDIR);
    auto made = MakeBeside(m_target, [&](const std::string& name) {
        auto file = OpenAt(m_target.directory, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
        if (file) m_file = std::move(*file);
        return file.Outcome();
    });
    if (made) m_temporaryName = std::move(*made);
    return made.Outcome();
}

Result AtomicFile::Commit() {
    if (const Result result = Flush(m_file.Get()); !result) return result;
    if (renameat(m_target.directory, m_temporaryName.c_str(), m_target.directory, m_target.name.c_str()) != 0)
        return Result::FromErrno();
    m_temporaryName.clear();
    return Flush(m_target.directory);
}

}  // namespace corekit
