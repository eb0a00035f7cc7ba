// What a command prints, for tests of what others make of the program's files.
#pragma once

#include <array>
#include <cstdio>
#include <string>

namespace testsupport {

/// Standard output and standard error of a shell's command line, which finds the host's usual programs.
inline std::string Printed(const std::string& commandLine) {
    std::FILE* pipe = popen(("exec 2>&1; PATH=/usr/bin:/bin; " + commandLine).c_str(), "r");
    if (pipe == nullptr) return "no pipe";
    std::string text;
    std::array<char, 512> part{};
    while (std::fgets(part.data(), part.size(), pipe) != nullptr) text += part.data();
    pclose(pipe);
    return text;
}

}  // namespace testsupport
