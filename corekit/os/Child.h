// Child processes that are made by fork, and the pipes between them and their parent.
#pragma once

#include <sys/types.h>

#include "corekit/os/Descriptor.h"
#include "corekit/os/Result.h"

namespace corekit {

/// The two ends are closed when a program is executed.
struct Pipe {
    Descriptor reader;
    Descriptor writer;
};

/// Fails when no descriptor is free.
Expected<Pipe> OpenPipe();

/// Waits until a child has ended. Returns its status, as waitpid(2) tells it; -1 if there is no such child.
int WaitForChild(pid_t child);

}  // namespace corekit
