// System calls that a test answers in the kernel's place; for child processes of a test.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <functional>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "tests/support/JudgedCalls.h"

namespace testsupport {

/// From now on statx tells of an entry what `tell` fills in; where that returns false, the kernel answers.
inline void AnswerStatx(std::function<bool(std::string_view name, struct statx& info)> tell) {
    JudgeCalls({SYS_statx}, [tell = std::move(tell)](const seccomp_notif& call) -> Verdict {
        struct statx info {};
        if (!tell(reinterpret_cast<const char*>(call.data.args[1]), info)) return std::nullopt;
        *reinterpret_cast<struct statx*>(call.data.args[4]) = info;
        return 0;
    });
}

/// The first directory that is read from now on has no end; any other has no entries.
inline void MakeEndless() {
    JudgeCalls({SYS_getdents64}, [first = -1, number = 0](const seccomp_notif& call) mutable -> Verdict {
        constexpr std::size_t kEntry = 40;  // a multiple of 8: the header of 19, the name, and zeros
        constexpr std::size_t kHeader = offsetof(dirent64, d_name);
        const int fd = static_cast<int>(call.data.args[0]);
        if (first < 0) first = fd;
        if (fd != first) return 0;
        auto* const begin = reinterpret_cast<char*>(call.data.args[1]);
        const auto size = static_cast<std::size_t>(call.data.args[2]);
        std::size_t at = 0;
        for (; at + kEntry <= size && at < 800 * kEntry; at += kEntry) {
            dirent64 entry{};
            entry.d_ino = static_cast<ino64_t>(++number);
            entry.d_reclen = kEntry;
            entry.d_type = DT_REG;
            std::snprintf(entry.d_name, kEntry - kHeader, "e%d", number);
            std::memcpy(begin + at, &entry, kEntry);
        }
        return static_cast<int>(at);
    });
}

}  // namespace testsupport
