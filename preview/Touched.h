// The names that were touched in a copy of the host, whether anything there is different in the end or not.
#pragma once

#include <string>
#include <vector>

#include "preview/HostCopy.h"

namespace Zorvane::AgentInstaller::Preview {

/// What a run that does the same on the host can do to a name.
enum class Touch {
    Access,   // the mode, the owner or the attributes of a directory change; entries below it are told apart
    Replace,  // what stands there, with all that is in it, is removed or replaced, or something is made there
    Edit,     // the bytes of the file itself change
};

struct Touched {
    std::string path;  // as it is on the host before the run
    Touch touch = Touch::Replace;
};

/// A directory that is renamed as a whole. What is touched in it is told under the path that it has before.
struct MovedDirectory {
    std::string from;
    std::string to;
};

struct TouchedNames {
    std::vector<Touched> names;  // a directory before what is in it
    std::vector<MovedDirectory> moves;
};

/// True for what is no effect of a command: the lock of a run, and the databases of package managers, whose
/// tools write to them when they are only asked.
bool IsNoEffect(const std::string& path);

/// The names of all file systems of the copy, but for those. Fails when the system does not tell of one.
corekit::Expected<TouchedNames> ReadTouched(const HostCopy& copy);

}  // namespace Zorvane::AgentInstaller::Preview
