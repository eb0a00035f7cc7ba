// A directory of this process's own below /tmp, for targets that work on files. It goes when the process
// ends.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

namespace fuzz {

class TempPlace {
  public:
    TempPlace() {
        char pattern[] = "/tmp/fuzz.XXXXXX";
        const char* const made = mkdtemp(pattern);
        if (made == nullptr) std::abort();
        m_path = made;
    }
    ~TempPlace() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempPlace(const TempPlace&) = delete;
    TempPlace& operator=(const TempPlace&) = delete;

    const std::string& Path() const { return m_path; }
    std::string operator/(std::string_view name) const { return m_path + "/" + std::string(name); }

    void Write(std::string_view name, std::string_view content) const {
        std::ofstream(*this / name, std::ios::binary) << content;
    }
    /// Empty for a file that is not there.
    std::string Read(std::string_view name) const {
        std::ostringstream content;
        content << std::ifstream(*this / name, std::ios::binary).rdbuf();
        return content.str();
    }
    bool Has(std::string_view name) const { return std::filesystem::exists(*this / name); }
    void Remove(std::string_view name) const { std::filesystem::remove(*this / name); }

  private:
    std::string m_path;
};

}  // namespace fuzz
