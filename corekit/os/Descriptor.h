// The owner of an open file descriptor.
#pragma once

#include <utility>

namespace corekit {

/// Closes its descriptor when it goes. -1 stands for none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~Descriptor();

    explicit operator bool() const { return m_fd >= 0; }
    int Get() const { return m_fd; }
    int Release() { return std::exchange(m_fd, -1); }

  private:
    int m_fd = -1;
};

}  // namespace corekit
