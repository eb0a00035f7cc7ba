// File systems that a test mounts: full, read-only or in the way, unmounted at the end of the scope.
#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/mount.h>

namespace testsupport {

class Mount {
  public:
    /// A file system of its own on a directory, made when missing; `options` such as "size=64k,nr_inodes=8".
    static Mount Tmpfs(const std::string& path, const std::string& options = "") {
        std::filesystem::create_directories(path);
        return Mount("tmpfs", path, "tmpfs", 0, options);
    }

    /// The same file or directory at a second path, which exists.
    static Mount Bind(const std::string& what, const std::string& path) {
        return Mount(what, path, nullptr, MS_BIND, "");
    }

    /// An overlay of the directories lower, upper and work of `layers` on a directory that exists.
    static Mount Overlay(const std::string& layers, const std::string& path) {
        return Mount("overlay", path, "overlay", 0,
                     "userxattr,lowerdir=" + layers + "/lower,upperdir=" + layers +
                         "/upper,workdir=" + layers + "/work");
    }

    Mount(Mount&& other) noexcept : m_path(std::move(other.m_path)) { other.m_path.clear(); }
    Mount& operator=(Mount&&) = delete;
    ~Mount() {
        if (!m_path.empty()) umount2(m_path.c_str(), MNT_DETACH);
    }

    void MakeReadOnly() const {
        EXPECT_EQ(mount(nullptr, m_path.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
    }

  private:
    Mount(const std::string& what, const std::string& path, const char* type, unsigned long flags,
          const std::string& options)
        : m_path(path) {
        if (mount(what.c_str(), path.c_str(), type, flags, options.c_str()) == 0) return;
        ADD_FAILURE() << "cannot mount " << what << " on " << path;
        m_path.clear();
    }

    std::string m_path;
};

}  // namespace testsupport
