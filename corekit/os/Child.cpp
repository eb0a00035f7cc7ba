// Pipes, and waiting for children.
#include "corekit/os/Child.h"

#include <fcntl.h>
#include <sys/wait.h>

#include "corekit/os/SystemCall.h"

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

}  // namespace corekit
