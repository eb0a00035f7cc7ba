// Files and directories for tests: made, read and looked at in one line each. Paths and contents are bytes.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <vector>

namespace testfiles {

inline void Write(const std::string& path, const std::string& content, unsigned mode = 0644) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
    ASSERT_EQ(chmod(path.c_str(), mode), 0) << path;
}

inline std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) ADD_FAILURE() << "cannot read " << path;
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

/// Permission bits of the file itself, a link's included; 0 and a failure when it does not exist.
inline unsigned Mode(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) ADD_FAILURE() << "no " << path;
    return info.st_mode & 07777;
}

inline bool Exists(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

constexpr const char* kAccessList = "system.posix_acl_access";
constexpr const char* kDefaultList = "system.posix_acl_default";

/// An access control list as the kernel keeps it: the owner may read and write, root may read, nobody else.
inline std::string RootMayRead() {
    constexpr char kNobody[] = "\xff\xff\xff\xff";
    const auto entry = [](char who, char may, const std::string& id) {
        return std::string({who, 0, may, 0}) + id;
    };
    const std::string root(4, '\0');
    return std::string({2, 0, 0, 0}) + entry(1, 6, kNobody) + entry(2, 4, root) + entry(4, 0, kNobody) +
           entry(0x10, 4, kNobody) + entry(0x20, 0, kNobody);
}

/// Both concern an entry itself, never what a link leads to.
inline void SetAttribute(const std::string& path, const char* name, const std::string& value) {
    ASSERT_EQ(lsetxattr(path.c_str(), name, value.data(), value.size(), 0), 0) << path << " " << name;
}

/// "none" when the entry has no such attribute.
inline std::string Attribute(const std::string& path, const char* name) {
    char value[128] = {};
    const ssize_t length = lgetxattr(path.c_str(), name, value, sizeof value);
    return length < 0 ? "none" : std::string(value, static_cast<std::size_t>(length));
}

/// The names in a directory, sorted.
inline std::vector<std::string> NamesIn(const std::string& directory) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
}

/// A directory of its own for one test, below /tmp, removed with everything in it.
class TempDir {
  public:
    TempDir() {
        char pattern[] = "/tmp/test.XXXXXX";
        m_path = mkdtemp(pattern);
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

  private:
    std::string m_path;
};

}  // namespace testfiles
