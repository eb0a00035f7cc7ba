// Composes the record in advance, but for the status: what a signal's handler does may not allocate.
#include "run/RunRecord.h"

#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/os/Interruption.h"
#include "corekit/os/Sys.h"
#include "corekit/os/SystemLog.h"
#include "corekit/text/Text.h"
#include "run/Args.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
namespace SystemLog = corekit::SystemLog;

namespace {

constexpr const char* kProgram = "qdn-configure";

struct RunFacts {
    String command;
    String user;     // who called the program
    String invoker;  // who called sudo, if that called the program
    String installDir;
    String server;
    String xmlFile;
    bool isXmlFileRemoved = false;
};

/// The present record. `owner` is 0 when there is none; all of it changes under a SignalBlock only.
struct Present {
    pid_t owner = 0;
    RunFacts facts;
    std::string fields;  // for the journal, up to the status that ends the message
    std::string line;    // for the syslog daemon, without its priority, up to the status
};
Present present;

String NameOfUser(uid_t id) {
    const String number = String::FromInt(id);
    corekit::StringTokenizer lines(corekit::File::Read(L"/etc/passwd").value_or(String()), L"\n");
    for (String line; lines.GetToken(line);) {
        corekit::StringTokenizer columns(line, L":");
        String name;
        String password;
        String user;
        columns.GetToken(name);
        columns.GetToken(password);
        if (columns.GetToken(user) && user == number) return name;
    }
    return number;
}

String Message(const RunFacts& facts) {
    String text = facts.command;
    if (!facts.installDir.IsEmpty()) text += L" of " + facts.installDir;
    text += L" by " + (facts.invoker.IsEmpty() ? facts.user : facts.invoker + L" (" + facts.user + L")");
    return Messages::Shown(text) + L": status ";
}

std::string JournalFields(const RunFacts& facts) {
    std::string fields = SystemLog::Field("MESSAGE_ID", RunRecord::kMessageId) +
                         SystemLog::Field("SYSLOG_IDENTIFIER", kProgram) +
                         SystemLog::Field("SYSLOG_FACILITY", "3");
    const auto add = [&](const char* name, const String& value) {
        if (!value.IsEmpty()) fields += SystemLog::Field(name, value.Utf8());
    };
    add("QDN_COMMAND", facts.command);
    add("QDN_SERVER", facts.server);
    add("QDN_INSTALL_DIR", facts.installDir);
    add("QDN_USER", facts.invoker.IsEmpty() ? facts.user : facts.invoker);
    add("QDN_XML_FILE", facts.xmlFile);
    if (!facts.xmlFile.IsEmpty()) add("QDN_XML_FILE_REMOVED", facts.isXmlFileRemoved ? L"yes" : L"no");
    return fields + "MESSAGE=" + Message(facts).Utf8();
}

/// Composes the record anew after a fact has changed. Whoever interrupts this finds the former one whole.
void Compose() {
    std::string fields = JournalFields(present.facts);
    std::string line =
        std::string(kProgram) + "[" + std::to_string(present.owner) + "]: " + Message(present.facts).Utf8();
    present.fields.swap(fields);
    present.line.swap(line);
}

template <typename Change>
void Update(Change&& change) {
    const corekit::SignalBlock untilItIsWhole;
    if (present.owner != getpid()) return;
    change(present.facts);
    Compose();
}

/// Leaves the record, if it is this process's. Async-signal-safe.
void Leave(int status) {
    if (present.owner != getpid()) return;
    present.owner = 0;
    std::array<char, 12> digits{};
    const char* const end = std::to_chars(digits.begin(), digits.end(), status).ptr;
    const std::string_view number(digits.data(), static_cast<std::size_t>(end - digits.data()));
    const bool succeeded = status == 0;
    const std::array<std::string_view, 5> entry = {present.fields, number, "\nQDN_STATUS=", number,
                                                   succeeded ? "\nPRIORITY=6\n" : "\nPRIORITY=3\n"};
    if (SystemLog::ToJournal(entry)) return;
    const std::array<std::string_view, 3> line = {succeeded ? "<30>" : "<27>", present.line, number};
    static_cast<void>(SystemLog::ToSyslog(line));
}

}  // namespace

RunRecord::RunRecord(const String& command) {
    if (RunMode::isRehearsal || present.owner != 0) return;
    m_isOwner = true;
    RunFacts facts;
    facts.command = command;
    facts.user = NameOfUser(getuid());
    // Only root's environment is believed.
    if (getuid() == 0) facts.invoker = corekit::Env::Get(L"SUDO_USER").value_or(String());
    const corekit::SignalBlock untilItIsWhole;
    present.owner = getpid();
    present.facts = std::move(facts);
    Compose();
    corekit::Interruption::BeforeEnd(Leave);
}

RunRecord::~RunRecord() {
    constexpr unsigned kFailure = 1;
    End(kFailure);
}

unsigned RunRecord::End(unsigned status) {
    const corekit::SignalBlock untilItIsLeft;
    if (std::exchange(m_isOwner, false)) Leave(static_cast<int>(status));
    return status;
}

void RunRecord::SetInstallDir(const String& directory) {
    const String absolute = corekit::Path::MakeAbsolute(directory).value_or(directory);
    Update([&](RunFacts& facts) { facts.installDir = directory.IsEmpty() ? directory : absolute; });
}

void RunRecord::SetServer(const String& url) {
    Update([&](RunFacts& facts) { facts.server = url; });
}

void RunRecord::SetXmlFile(const String& path) {
    Update([&](RunFacts& facts) { facts.xmlFile = path; });
}

void RunRecord::SetXmlFileRemoved() {
    Update([](RunFacts& facts) { facts.isXmlFileRemoved = true; });
}

}  // namespace Zorvane::AgentInstaller
