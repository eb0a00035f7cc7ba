// Mounts that fail, by where and how they are made; for child processes of a test.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <utility>

#include "tests/support/JudgedCalls.h"

namespace testsupport {

/// The text at an address of another process; "" where there is none.
inline std::string TextAt(pid_t process, std::uint64_t address) {
    std::string text(64, '\0');
    iovec here{text.data(), text.size()};
    iovec there{reinterpret_cast<void*>(address), text.size()};  // NOLINT: it is not this process's
    return process_vm_readv(process, &here, 1, &there, 1, 0) > 0 ? text.c_str() : "";
}

/// A mount that is asked for; the type of one that has none is "".
struct AskedMount {
    std::string target;
    std::string type;
    unsigned long flags = 0;
};

/// From now on, and for ever, a mount of which `isMeant` is true fails with this error.
inline void MakeMountsFail(int error, std::function<bool(const AskedMount&)> isMeant) {
    JudgeCalls({SYS_mount}, [error, isMeant = std::move(isMeant)](const seccomp_notif& call) -> Verdict {
        const auto process = static_cast<pid_t>(call.pid);
        const AskedMount mount{TextAt(process, call.data.args[1]), TextAt(process, call.data.args[2]),
                               call.data.args[3]};
        return isMeant(mount) ? Verdict(-error) : std::nullopt;
    });
}

}  // namespace testsupport
