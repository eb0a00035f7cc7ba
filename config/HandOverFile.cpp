// The hand-over file: made privately, removed unless it has moved into place.
#include "config/HandOverFile.h"

#include "corekit/fs/File.h"
#include "corekit/os/Interruption.h"

namespace Zorvane::AgentInstaller {

namespace File = corekit::File;

namespace {

constexpr const wchar_t* kTemplate = L"/tmp/.zorvane-agent-installer.XXXXXX";

// The file, and what is beside it while it is written.
constexpr const wchar_t* kLeftovers[] = {L"/tmp/.zorvane-agent-installer.??????",
                                         L"/tmp/..zorvane-agent-installer.??????.*"};

}  // namespace

void HandOverFile::RemoveLeftovers() {
    // One that stays is in nobody's way; the next run tries again.
    for (const wchar_t* pattern : kLeftovers) Forgive(File::RemoveEx(pattern, File::HostDirectory::Meant));
}

Outcome<> HandOverFile::Create() {
    RemoveHandOverFile();
    RemoveLeftovers();
    const corekit::SignalBlock untilItIsOwned;
    const auto made = File::MakeTemp(kTemplate);
    if (!made) return Fail(L"Failed to create migration config file: ", GetErrorMsg(made.error()));
    m_path = *made;
    m_file.Take(m_path.Utf8());
    return {};
}

void HandOverFile::RemoveHandOverFile() {
    m_file.Remove();
    m_path = corekit::String();
}

}  // namespace Zorvane::AgentInstaller
