// Finding programs and files in lists of directories; keeping a command's lines.
#include "corekit/process/Program.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/os/SystemCall.h"
#include "corekit/process/detail/ShellProcess.h"
#include "corekit/text/Text.h"

namespace corekit {

namespace {

/// The path of `name` in the first directory of the list for which `accept` holds; empty without one.
template <typename Accept>
String FindInList(const String& directories, const String& name, Accept accept) {
    StringTokenizer list(directories, L":");
    for (String directory; list.GetToken(directory);) {
        if (directory.IsEmpty()) continue;
        String path = Path::Join(directory, name);
        if (accept(path)) return path;
    }
    return String();
}

bool IsProgram(const String& path) {
    const std::string bytes = NativePath(path);
    struct stat info {};
    return stat(bytes.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
           faccessat(AT_FDCWD, bytes.c_str(), X_OK, AT_EACCESS) == 0;
}

}  // namespace

String Program::Locate(const String& name) {
    return FindInList(String::FromUtf8(SearchPath()), name, IsProgram);
}

String Program::Search(const String& directories, const String& name) {
    return FindInList(directories, name, File::Exists);
}

void Program::RunSilently(const String& program, const String& arguments) {
    if (program.IsEmpty()) return;
    StringToMapFilter unused;
    Forgive(
        PosixLocaleProgram::Run(Text::ShellWord(program) + L" " + arguments + L" >/dev/null 2>&1", unused));
}

void StringToMapFilter::Clear() {
    m_map.clear();
}

void StringToMapFilter::Line(const String& line) {
    m_map[L"RawData" + String::FromInt(static_cast<long long>(m_map.size()))] = line;
}

String StringToMapFilter::RawData(std::size_t number) const {
    const auto line = m_map.find(L"RawData" + String::FromInt(static_cast<long long>(number)));
    return line == m_map.end() ? String() : line->second;
}

}  // namespace corekit
