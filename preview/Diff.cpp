// Compares text files, by the host's diff where both are there.
#include "preview/Diff.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "corekit/os/Child.h"
#include "corekit/os/SystemCall.h"
#include "corekit/process/Program.h"
#include "corekit/text/Text.h"
#include "preview/Secrets.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::String;

namespace {

constexpr std::size_t kLongestFile = std::size_t{8} << 20;
constexpr std::size_t kLongest = std::size_t{64} << 10;
constexpr const char* kNoFile = "/dev/null";
constexpr std::string_view kCompiled = "\177ELF";

/// True for a program or library, which is long and has no settings.
bool IsCompiled(int file) {
    std::string start(kCompiled.size(), '\0');
    return pread(file, start.data(), start.size(), 0) == static_cast<ssize_t>(start.size()) &&
           start == kCompiled;
}

/// What stands in the file; none where it is compiled or too long, or cannot be read.
std::optional<std::string> ReadShort(const std::string& path) {
    const auto file = corekit::OpenAt(AT_FDCWD, path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (!file || IsCompiled(file->Get())) return std::nullopt;
    const auto bytes = corekit::ReadAll(file->Get(), kLongestFile);
    return bytes ? std::optional(*bytes) : std::nullopt;
}

/// All lines with the sign of one side.
std::string OneSided(const std::string& text, char sign, const std::string& path) {
    if (text.empty()) return {};
    const bool isCreated = sign == '+';
    const auto lines = std::ranges::count(text, '\n') + (text.ends_with('\n') ? 0 : 1);
    const std::string range = "1" + (lines == 1 ? std::string() : "," + std::to_string(lines));
    std::string diff = "--- " + (isCreated ? kNoFile : path) + "\n+++ " + (isCreated ? path : kNoFile) +
                       "\n@@ -" + (isCreated ? "0,0" : range) + " +" + (isCreated ? range : "0,0") + " @@\n";
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        diff += sign + text.substr(at, end - at);
        at = end;
    }
    if (!text.ends_with('\n')) diff += "\n\\ No newline at end of file\n";
    return diff;
}

std::optional<std::string> RunDiff(const std::string& before, const std::string& after,
                                   const std::string& label) {
    const std::string program = corekit::Program::Locate(L"diff").Utf8();
    auto pipe = corekit::OpenPipe();
    if (!pipe) return std::nullopt;
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, pipe->writer.Get(), STDOUT_FILENO);
    const std::array<const char*, 10> arguments = {program.c_str(), "-u",          "--label", label.c_str(),
                                                   "--label",       label.c_str(), "--",      before.c_str(),
                                                   after.c_str(),   nullptr};
    const char* environment[] = {"LC_ALL=C", nullptr};
    pid_t child = 0;
    const int failure =
        posix_spawn(&child, program.c_str(), &files, nullptr, const_cast<char* const*>(arguments.data()),
                    const_cast<char* const*>(environment));
    posix_spawn_file_actions_destroy(&files);
    pipe->writer = corekit::Descriptor();
    if (failure != 0) return std::nullopt;
    const auto text = corekit::ReadAll(pipe->reader.Get(), kLongestFile);
    pipe->reader = corekit::Descriptor();  // where not all could be read, nobody must wait for a reader
    const int status = corekit::WaitForChild(child);
    constexpr int kDiffers = 1;
    if (!text || !WIFEXITED(status) || WEXITSTATUS(status) > kDiffers) return std::nullopt;
    return *text;
}

bool WriteNote(const std::string& path, const std::string& text) {
    const auto file = corekit::OpenAt(AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    return file && corekit::WriteAll(file->Get(), text);
}

bool IsFile(const std::optional<FileState>& state) {
    return state && state->type == FileType::File;
}

}  // namespace

bool IsText(const std::string& bytes) {
    constexpr wchar_t kFirstKept = 0xDC80;
    constexpr wchar_t kLastKept = 0xDCFF;
    const String text = String::FromUtf8(bytes);
    return std::ranges::none_of(text, [](wchar_t character) {
        return character == 0 || (character >= kFirstKept && character <= kLastKept);
    });
}

Difference DifferenceOf(const Change& change, const std::string& notesDir, std::set<std::string>& secrets) {
    Difference difference;
    const bool hasBefore = IsFile(change.before);
    const bool hasAfter = IsFile(change.after);
    if ((change.before && !hasBefore) || (change.after && !hasAfter)) return difference;
    const bool areBytesTheSame = change.action == Action::Change;
    const auto before = hasBefore ? ReadShort(change.beforeAt) : std::string();
    const auto after = areBytesTheSame ? before : hasAfter ? ReadShort(change.afterAt) : std::string();
    if (!before || !after) return difference;
    const std::string maskedBefore = Masked(*before, &secrets);
    const std::string maskedAfter = areBytesTheSame ? maskedBefore : Masked(*after, &secrets);
    difference.hasSecrets = maskedBefore != *before || maskedAfter != *after;
    if (areBytesTheSame || !IsText(*before) || !IsText(*after)) return difference;

    const std::string label = corekit::Text::Printable(String::FromUtf8(change.path)).Utf8();
    if (!hasBefore || !hasAfter) {
        difference.text = OneSided(hasAfter ? maskedAfter : maskedBefore, hasAfter ? '+' : '-', label);
    } else if (!difference.hasSecrets) {
        difference.text = RunDiff(change.beforeAt, change.afterAt, label);
    } else if (WriteNote(notesDir + "/before", maskedBefore) && WriteNote(notesDir + "/after", maskedAfter)) {
        difference.text = RunDiff(notesDir + "/before", notesDir + "/after", label);
    }
    if (difference.text && difference.text->size() > kLongest) difference.text.reset();
    return difference;
}

}  // namespace Zorvane::AgentInstaller::Preview
