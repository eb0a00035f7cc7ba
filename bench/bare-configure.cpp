// The yardstick for a configuration: runs the same shell commands and makes the same files with the same
// flushes as a run of the program, and does nothing else. What they are is told by a list.
//
//   bare-configure LIST
//
// A line of the list has two to four fields with tabs between: "run" and a command; "directory", mode and
// path; "file", mode, path and the file that has its content; "mode", mode and path; "link", path and target;
// "remove" and path.
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// As the program does: standard output is read to its end.
bool RunCommand(const std::string& command) {
    std::FILE* output = popen(command.c_str(), "re");
    if (output == nullptr) return false;
    char chunk[4096];
    while (std::fread(chunk, 1, sizeof chunk, output) != 0) {
    }
    return pclose(output) != -1;
}

/// Temporary file beside it, mode, content, flush, rename, flush of the directory.
bool WriteFile(const std::string& path, mode_t mode, const std::string& source) {
    std::ifstream content(source, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(content), {});
    const std::string made = path + ".made";
    const int file = open(made.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    const int directory = open(path.substr(0, path.rfind('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return fchmod(file, mode) == 0 &&
           write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) &&
           fsync(file) == 0 && rename(made.c_str(), path.c_str()) == 0 && fsync(directory) == 0 &&
           close(file) == 0 && close(directory) == 0;
}

bool Do(const std::string& line) {
    std::istringstream fields(line);
    std::string word;
    std::string first;
    std::string second;
    std::string third;
    std::getline(fields, word, '\t');
    std::getline(fields, first, '\t');
    std::getline(fields, second, '\t');
    std::getline(fields, third);
    const auto mode = static_cast<mode_t>(std::strtoul(first.c_str(), nullptr, 8));
    if (word == "run") return RunCommand(first);
    if (word == "directory") return mkdir(second.c_str(), mode) == 0;
    if (word == "file") return WriteFile(second, mode, third);
    if (word == "mode") return chmod(second.c_str(), mode) == 0;
    if (word == "link") return symlink(second.c_str(), first.c_str()) == 0;
    if (word == "remove") return unlink(first.c_str()) == 0;
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    std::ifstream list(argc == 2 ? argv[1] : "");
    if (!list) {
        std::fputs("Usage: bare-configure LIST\n", stderr);
        return 2;
    }
    for (std::string line; std::getline(list, line);) {
        if (Do(line)) continue;
        std::perror(line.c_str());
        return 1;
    }
}
