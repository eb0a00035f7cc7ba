// A filter that the kernel asks about system calls of this thread.
#pragma once

#include <cstddef>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

// Newer architectures have only the calls that take a directory, too.
#ifndef SYS_unlink
#define SYS_chmod SYS_fchmodat
#define SYS_chown SYS_fchownat
#define SYS_dup2 SYS_dup3
#define SYS_link SYS_linkat
#define SYS_mkdir SYS_mkdirat
#define SYS_poll SYS_ppoll
#define SYS_readlink SYS_readlinkat
#define SYS_rename SYS_renameat
#define SYS_rmdir SYS_unlinkat
#define SYS_stat SYS_newfstatat
#define SYS_unlink SYS_unlinkat
#endif

namespace testsupport {

/// What is done to the calls that it names; all others are allowed.
class SystemCallFilter {
  public:
    void Add(int call, unsigned verdict) {
        m_program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1));
        m_program.push_back(BPF_STMT(BPF_RET | BPF_K, verdict));
    }

    /// For the calling thread, and the children that it will have. Negative when that fails, otherwise, with
    /// SECCOMP_FILTER_FLAG_NEW_LISTENER, the descriptor on which the kernel asks.
    int Install(unsigned flags = 0) {
        m_program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
        const sock_fprog filter = {static_cast<unsigned short>(m_program.size()), m_program.data()};
        if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return -1;
        return static_cast<int>(syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &filter));
    }

  private:
    std::vector<sock_filter> m_program = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
};

}  // namespace testsupport
