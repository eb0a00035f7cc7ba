// Walks through trees with bounded memory and a bounded number of open directories.
#include "corekit/fs/detail/TreeWalk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "corekit/os/SystemCall.h"

namespace corekit {

Result TreeWalk::Walk(const EntryRef& top) {
    auto parent = OpenDirectoryItself(top.directory, ".");
    if (!parent) return parent.error();
    m_way = std::make_unique<DirectoryStack>(std::move(*parent));
    m_levels.emplace_back().isRead = true;  // of the parent nothing but the top is walked
    AddPending(top.name.c_str());
    while (!m_isOver && (m_levels.size() > 1 || !m_levels.front().pending.empty())) Step();
    return m_result;
}

void TreeWalk::Fail(const Result& failure) {
    m_result = Worse(m_result, failure);
    if (m_afterFailure == AfterFailure::Stop) m_isOver = true;
}

void TreeWalk::Step() {
    const Level& level = m_levels.back();
    if (!level.pending.empty()) {
        GoIn(1);
    } else if (!level.isRead) {
        ReadOn();
    } else {
        ComeBack();
    }
}

void TreeWalk::ReadOn() {
    // The pending names of all levels count, so that a deep tree of wide directories needs no more memory
    // than one of them.
    const std::size_t size = DirectoryBatch::kLargest - std::min(m_pendingBytes, DirectoryBatch::kLargest);
    if (const Result result = m_batch.Read(m_way->Fd(), size); !result) Fail(result);
    Level& level = m_levels.back();
    level.isRead = m_batch.IsEnd();
    level.met += static_cast<std::size_t>(m_batch.end() - m_batch.begin());
    if (!level.isRead && level.limit.IsReached(m_way->Fd(), level.met)) {
        Fail(Result(EBUSY));  // somebody keeps adding to it
        level.isRead = true;
    }
    for (const DirEntry& entry : m_batch) {
        if (OnEntry(m_way->Fd(), entry) == Action::GoIn) AddPending(entry.name);
        if (m_isOver) return;
    }
}

void TreeWalk::GoIn(unsigned reading) {
    const std::string name = NextPending();
    if (const Result result = m_way->Enter(name); !result) {
        if (result.Code() != ENOENT) Fail(result);  // gone meanwhile
        DropPending();
        return;
    }
    m_levels.emplace_back().reading = reading;
    if (const Result result = Enter(m_way->Fd(), name); !result) {
        Fail(result);
        m_levels.back().isRead = true;
    }
}

void TreeWalk::ComeBack() {
    const unsigned reading = m_levels.back().reading;
    m_levels.pop_back();
    if (const Result result = m_way->Leave(); !result) {
        Fail(result);
        m_isOver = true;
        return;
    }
    if (OnDirectoryDone(m_way->Fd(), NextPending(), reading) == Reading::Again) {
        GoIn(reading + 1);
    } else {
        DropPending();
    }
}

void TreeWalk::AddPending(const char* name) {
    std::string& pending = m_levels.back().pending;
    const std::size_t before = pending.size();
    pending.append(name, std::strlen(name) + 1);
    m_pendingBytes += pending.size() - before;
}

std::string TreeWalk::NextPending() const {
    const std::string& pending = m_levels.back().pending;
    const std::size_t end = pending.size() - 1;
    const std::size_t before = pending.rfind('\0', end - 1);  // no name is empty
    return pending.substr(before + 1, end - before - 1);
}

void TreeWalk::DropPending() {
    const std::size_t length = NextPending().size() + 1;
    std::string& pending = m_levels.back().pending;
    pending.resize(pending.size() - length);
    m_pendingBytes -= length;
}

}  // namespace corekit
