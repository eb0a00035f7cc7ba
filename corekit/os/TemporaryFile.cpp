// Keeps the list of temporary files, and removes them.
#include "corekit/os/TemporaryFile.h"

#include <unistd.h>

#include "corekit/os/Interruption.h"

namespace corekit {

namespace {

TemporaryFile* first = nullptr;  // changed under a SignalBlock only

}  // namespace

void TemporaryFile::Take(const std::string& path) {
    const SignalBlock untilListed;
    Remove();
    if (path.empty()) return;
    m_path = path;
    m_owner = getpid();
    m_next = first;
    first = this;
}

void TemporaryFile::Remove() {
    if (m_path.empty()) return;
    const SignalBlock untilUnlisted;
    if (m_owner == getpid()) unlink(m_path.c_str());
    m_path.clear();
    TemporaryFile** place = &first;
    while (*place != this) place = &(*place)->m_next;
    *place = m_next;
}

void TemporaryFile::RemoveAll() {
    for (const TemporaryFile* file = first; file != nullptr; file = file->m_next) {
        if (file->m_owner == getpid()) unlink(file->m_path.c_str());
    }
}

}  // namespace corekit
