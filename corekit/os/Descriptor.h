// The owner of an open file descriptor.
#pragma once

#include <unistd.h>
#include <utility>

namespace corekit {

/// The destructor closes the descriptor. -1 stands for none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~Descriptor() {
        // Linux gives the number back even when close fails; whoever wants to know of lost data has flushed.
        if (m_fd >= 0) close(m_fd);
    }

    explicit operator bool() const { return m_fd >= 0; }
    int Get() const { return m_fd; }
    int Release() { return std::exchange(m_fd, -1); }

  private:
    int m_fd = -1;
};

}  // namespace corekit
