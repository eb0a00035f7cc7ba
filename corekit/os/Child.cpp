// Pipes, and the ends of children.
#include "corekit/os/Child.h"

#include <fcntl.h>
#include <sys/wait.h>

#include "corekit/os/SystemCall.h"

// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" void __gcov_dump() __attribute__((weak));  // there when built with coverage counters

namespace corekit {

Expected<Pipe> OpenPipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return Result::FromErrno();
    return Pipe{Descriptor(ends[0]), Descriptor(ends[1])};
}

int WaitForChild(pid_t child) {
    int status = -1;
    Uninterrupted([&] { return waitpid(child, &status, 0); });
    return status;
}

void EndChild(int status) {
    if (__gcov_dump != nullptr) __gcov_dump();
    _exit(status);
}

}  // namespace corekit
