// A journal or a syslog daemon of a test's own.
#pragma once

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace testsupport {

/// Listens at the path as long as it lives.
class LogSocket {
  public:
    explicit LogSocket(const std::string& path, int type = SOCK_DGRAM)
        : m_path(path), m_fd(socket(AF_UNIX, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, path.c_str());
        EXPECT_EQ(bind(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0) << path;
        EXPECT_TRUE(type != SOCK_STREAM || listen(m_fd, 1) == 0) << path;
    }
    ~LogSocket() {
        close(m_fd);
        std::filesystem::remove(m_path);
    }
    LogSocket(const LogSocket&) = delete;
    LogSocket& operator=(const LogSocket&) = delete;

    /// The next entry that has arrived; empty when there is none.
    std::string Next() const { return ReadFrom(m_fd); }

    /// What a sender of a stream has sent.
    std::string NextStream() const {
        const int connection = accept(m_fd, nullptr, nullptr);
        if (connection < 0) return {};
        std::string text = ReadFrom(connection);
        close(connection);
        return text;
    }

  private:
    static std::string ReadFrom(int fd) {
        std::string bytes(65536, '\0');
        const ssize_t count = read(fd, bytes.data(), bytes.size());
        bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return bytes;
    }

    std::string m_path;
    int m_fd;
};

}  // namespace testsupport
