// The application frame: preparing the process, choosing the command, showing what there is.
#include "corekit/os/Application.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "corekit/os/Console.h"
#include "corekit/os/Interruption.h"
#include "corekit/os/TemporaryFile.h"
#include "corekit/text/Encoding.h"
#include "corekit/text/Text.h"

namespace corekit {

namespace {

/// Words that people try who do not know the program.
constexpr std::wstring_view kHelpWords[] = {L"-help", L"-h", L"--help", L"help"};
constexpr std::wstring_view kVersionWords[] = {L"-version", L"--version"};

constexpr const wchar_t* kHelpDescription =
    L"List the commands and tell the version; with a command, show how it is used.";
constexpr const wchar_t* kVersionDescription = L"Tell the version.";

/// Opens closed standard streams: a file opened in their place would get the output for the operator.
void OpenStandardStreams() {
    for (int fd = 0; fd <= 2; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0) continue;
        // A root without devices still has a directory: it takes no writes either.
        if (open("/dev/null", O_RDWR) < 0 && open("/", O_RDONLY | O_DIRECTORY) < 0) return;
    }
}

}  // namespace

void Init() {
    OpenStandardStreams();
    umask(022);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    Interruption::Prepare();
    std::set_new_handler(EndWithoutMemory);
}

void EndWithoutMemory() {
    const SignalBlock untilTheEnd;
    TemporaryFile::RemoveAll();
    Console::Err("ERROR: Not enough memory.\n");
    Interruption::TellEnd(EXIT_FAILURE);
    _exit(EXIT_FAILURE);
}

CommandBasedApp::CommandBasedApp(int argumentCount, const char* const* arguments) {
    for (int i = 1; i < argumentCount; ++i) m_arguments.push_back(String::FromUtf8(arguments[i]));
}

CommandBasedApp::~CommandBasedApp() = default;

void CommandBasedApp::RegisterCommand(const String& word, std::unique_ptr<Command> command) {
    m_commands.push_back({word, std::move(command)});
}

int CommandBasedApp::Run() {
    if (m_arguments.empty()) {
        ListCommands();
        return kUsageError;
    }
    const String& word = m_arguments.front();
    const Entry* entry = Find(word);
    if (entry == nullptr) {
        if (std::ranges::find(kHelpWords, word.View()) != std::end(kHelpWords)) return Help();
        if (std::ranges::find(kVersionWords, word.View()) != std::end(kVersionWords)) return TellVersion();
        return RefuseCommand(word);
    }
    const unsigned status = entry->command->Run({m_arguments.begin() + 1, m_arguments.end()});
    if (status == kUsageError) ShowUsage(*entry);
    return static_cast<int>(status);
}

const CommandBasedApp::Entry* CommandBasedApp::Find(const String& word) const {
    const auto entry = std::ranges::find(m_commands, word, &Entry::word);
    return entry == m_commands.end() ? nullptr : &*entry;
}

int CommandBasedApp::RefuseCommand(const String& word) const {
    Console::Err(StringEncoder::Local(String(L"Unknown command '%1'.\n").Arg(Text::Printable(word))));
    ListCommands();
    return static_cast<int>(kUsageError);
}

int CommandBasedApp::Help() const {
    if (m_arguments.size() > 1) {
        const Entry* entry = Find(m_arguments[1]);
        if (entry == nullptr) return RefuseCommand(m_arguments[1]);
        ShowUsage(*entry);
        return 0;
    }
    ListCommands();
    Console::Out(StringEncoder::Local(L"This is version " + Version() + L".\n"));
    return 0;
}

int CommandBasedApp::TellVersion() const {
    Console::Out(StringEncoder::Local(Product() + L" " + Version() + L"\n"));
    return 0;
}

void CommandBasedApp::ShowUsage(const Entry& entry) const {
    entry.command->Usage(L"Usage: " + Name() + L" " + entry.word);
}

void CommandBasedApp::ListCommands() const {
    std::vector<std::pair<String, String>> rows;
    for (const Entry& entry : m_commands) rows.emplace_back(entry.word, entry.command->Description());
    rows.emplace_back(kHelpWords[0], kHelpDescription);
    rows.emplace_back(kVersionWords[0], kVersionDescription);

    std::size_t width = 0;
    for (const auto& row : rows) width = std::max(width, row.first.Length());
    String list = L"Usage: " + Name() + L" <command> [options]\n\nCommands:\n";
    for (const auto& [word, description] : rows) {
        list += L"  " + word + std::wstring(width - word.Length() + 2, L' ') + description + L"\n";
    }
    list += L"\nThe manual page " + Product() + L"(8) tells the rest.\n";
    Console::Out(StringEncoder::Local(list));
}

}  // namespace corekit
