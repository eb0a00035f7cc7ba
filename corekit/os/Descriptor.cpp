// Closes open file descriptors.
#include "corekit/os/Descriptor.h"

#include <unistd.h>

namespace corekit {

Descriptor::~Descriptor() {
    // Linux gives the number back even when close fails, and whoever wants to know of lost data has flushed.
    if (m_fd >= 0) close(m_fd);
}

}  // namespace corekit
