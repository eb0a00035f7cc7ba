// How the command -apply tells of its end, and how it is used.
#include <nlohmann/json.hpp>

#include "app/ApplyCommand.h"
#include "apply/FailedFiles.h"
#include "corekit/json/Json.h"
#include "corekit/os/Console.h"
#include "integration/AgentProcess.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::Json;
using corekit::String;

unsigned ApplyCommand::EndFailed(const Failure& failure) {
    m_result.error = failure.Told();
    static_cast<void>(Report(failure));
    if (m_result.wasRestored) Messages::Warn(L"  The host has been put back as it was.\n");
    m_result.agent = m_runningAgent.IsEmpty() ? std::nullopt : FindAgentProcess(m_runningAgent);
    if (m_result.hasFailedFiles)
        Messages::Warn(String(L"  The files of the attempt are in %1.\n").Arg(Apply::kFailedDir));
    return End();
}

unsigned ApplyCommand::End() {
    const unsigned status = m_result.error.IsEmpty() ? kSuccess : kFailure;
    if (!m_options.json) return status;
    Json document = {{"format", "qdn-configure/apply/1"},
                     {"status", status},
                     {"error", nullptr},
                     {"restored", m_result.wasRestored}};
    if (status != kSuccess) document["error"] = m_result.error.Utf8();
    document["kept"] = nullptr;
    if (m_result.hasFailedFiles) document["kept"] = String(Apply::kFailedDir).Utf8();
    document["preview"] = m_rehearsed.document ? Preview::Printed(*m_rehearsed.document) : Json(nullptr);
    document["agent"] = {{"running", m_result.agent.has_value()}, {"pid", nullptr}};
    if (m_result.agent) document["agent"]["pid"] = *m_result.agent;
    corekit::Console::Out(corekit::JsonDocument(document));
    return status;
}

void ApplyCommand::Usage(const String& prefix) const {
    if (m_options.json) Messages::Tell(kBanner);  // there is no document that it would disturb
    if (m_isWrongUse) return m_command->Usage(prefix + L" " + m_command.Word());
    Messages::Tell(
        prefix +
        L" [-json] [-yes] [-or-plainly] [-plan <file>] [-wait <seconds>] <command> [options of the "
        L"command]\n\n" +
        Description() +
        L"\n\n"
        L"Options:\n\n"
        L"-json\n"
        L"\t[optional] Write one JSON document instead of text.\n\n"
        L"-yes\n"
        L"\t[optional] Do not ask; needed where there is no terminal.\n\n"
        L"-or-plainly\n"
        L"\t[optional] Where no preview is possible, run the command without one; not with -json.\n\n"
        L"-plan <file>\n"
        L"\t[optional] Refuse if it would do anything but what this document of -preview -out says.\n\n"
        L"-wait <seconds>\n"
        L"\t[optional] How long a started agent may take until it stays up: 2 to 3600, usually 10.\n\n"
        L"<command>\n"
        L"\t-configure, -iconfigure or -clean, with its options.\n\n");
}

String ApplyCommand::Description() const {
    return L"Have a command take effect as a whole, or leave the host as it was.";
}

}  // namespace Zorvane::AgentInstaller
