// Writing to the operator: one buffer before standard output, none before standard error.
#include "corekit/os/Console.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace corekit::Console {

namespace {

/// Waits until a descriptor that somebody made non-blocking takes bytes again.
bool WaitUntilWritable(int fd) {
    pollfd request{fd, POLLOUT, 0};
    return poll(&request, 1, -1) > 0 || errno == EINTR;
}

void WriteAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN ? !WaitUntilWritable(fd) : errno != EINTR) {
            return;
        }
    }
}

/// What is still to go to standard output; written when the process ends.
class Buffer {
  public:
    constexpr Buffer() = default;
    ~Buffer() { Flush(); }

    bool Takes(std::size_t size) const { return size <= sizeof m_bytes - m_size; }

    void Add(std::string_view bytes) {
        std::memcpy(m_bytes + m_size, bytes.data(), bytes.size());
        m_size += bytes.size();
    }

    void Flush() {
        const std::size_t size = m_size;
        m_size = 0;
        WriteAll(STDOUT_FILENO, {m_bytes, size});
    }

  private:
    char m_bytes[4096]{};
    std::size_t m_size = 0;
};

constinit Buffer buffer;

}  // namespace

void Out(std::string_view bytes) {
    if (!buffer.Takes(bytes.size())) Flush();
    if (!buffer.Takes(bytes.size())) return WriteAll(STDOUT_FILENO, bytes);
    buffer.Add(bytes);
    // A complete message is seen at once, and none is lost when the run is killed.
    if (bytes.ends_with('\n')) Flush();
}

void Err(std::string_view bytes) {
    Flush();
    WriteAll(STDERR_FILENO, bytes);
}

void Flush() {
    buffer.Flush();
}

}  // namespace corekit::Console
