// The environment that a shell command gets: ours, less what would change the meaning of a command line.
#include "corekit/process/detail/ShellEnvironment.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace corekit {

namespace {

constexpr std::string_view kUsualDirectories = "/usr/sbin:/usr/bin:/sbin:/bin";

constexpr std::string_view kLeftOut[] = {
    "BASHOPTS",     "CDPATH",    "COLUMNS",        "ENV",       "FPATH", "GLOBIGNORE",
    "GREP_OPTIONS", "IFS",       "LANG",           "LANGUAGE",  "PATH",  "POSIXLY_CORRECT",
    "PS4",          "PS_FORMAT", "PS_PERSONALITY", "SHELLOPTS",
};

constexpr std::string_view kLeftOutPrefixes[] = {"BASH_", "LC_", "LD_"};

/// Old shells import a variable with such a value as a function.
constexpr std::string_view kFunction = "() {";

char kPosixLocale[] = "LC_ALL=POSIX";

bool IsLeftOut(std::string_view variable) {
    const std::string_view name = variable.substr(0, variable.find('='));
    return std::ranges::find(kLeftOut, name) != std::end(kLeftOut) ||
           std::ranges::any_of(kLeftOutPrefixes, [&](auto prefix) { return name.starts_with(prefix); }) ||
           (name.size() < variable.size() && variable.substr(name.size() + 1).starts_with(kFunction));
}

}  // namespace

std::string SearchPath() {
    const char* const path = std::getenv("PATH");
    std::string_view rest = path == nullptr ? std::string_view() : path;
    std::string directories;
    while (!rest.empty()) {
        const std::string_view directory = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(directory.size() + 1, rest.size()));
        if (!directory.starts_with('/')) continue;
        if (!directories.empty()) directories += ':';
        directories += directory;
    }
    return directories.empty() ? std::string(kUsualDirectories) : directories;
}

ShellEnvironment::ShellEnvironment() : m_path("PATH=" + SearchPath()) {
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        if (!IsLeftOut(*variable)) m_variables.push_back(*variable);
    }
    m_variables.push_back(m_path.data());
    m_variables.push_back(kPosixLocale);
    m_variables.push_back(nullptr);
}

}  // namespace corekit
