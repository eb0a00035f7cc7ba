// The hand-over file: made privately, removed unless it has moved into place.
#include "settings/HandOverFile.h"

#include "corekit/File.h"
#include "run/Error.h"

namespace Zorvane::AgentInstaller {

bool HandOverFile::Create() {
    RemoveHandOverFile();
    const auto result = corekit::File::MakeTemp(L"/tmp/.zorvane-agent-installer.XXXXXX", m_path);
    return result.Ok() || Error::Fail(L"Failed to create migration config file: ", GetErrorMsg(result));
}

void HandOverFile::RemoveHandOverFile() {
    if (!m_path.IsEmpty()) Forgive(corekit::File::Remove(m_path));
    m_path = corekit::String();
}

}  // namespace Zorvane::AgentInstaller
