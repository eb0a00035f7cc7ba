// Keeps files by second names and copies.
#include "apply/FailedFiles.h"

#include "corekit/fs/Dir.h"
#include "corekit/fs/Keeping.h"
#include "preview/FileState.h"

namespace Zorvane::AgentInstaller::Apply {

using corekit::Result;
using corekit::String;
using Preview::FileType;
namespace Keeping = corekit::Keeping;

namespace {

/// Of another file system, no more than this is copied.
constexpr off_t kLargestCopy = 1 << 20;

/// What stands there already stays.
Result Keep(const std::string& path, const std::string& copy) {
    const String from = String::FromUtf8(path);
    const String to = String::FromUtf8(copy);
    const auto state = Preview::ReadState(path);
    if (!state || !IsNotFound(Keeping::IdentityOf(to).Outcome())) return Result();
    if (state->type != FileType::Directory) {
        if (state->type == FileType::Other) return Result();
        const Result linked = Keeping::Link(from, to);
        return linked || state->size > kLargestCopy ? linked : Keeping::Copy(from, to);
    }
    if (const Result made = Keeping::MakePrivateDirectory(to); !made) return made;
    Result result;
    for (const corekit::FileInfo& entry : corekit::Dir::Entries(from, String()))
        result = Worse(result, Keep(entry.path.Utf8(), copy + "/" + entry.name.Utf8()));
    return result;
}

}  // namespace

void KeepFailed(const std::string& path) {
    const std::string kept = String(kFailedDir).Utf8() + path;
    Forgive(Keeping::MakePrivateDirectory(kFailedDir));
    Forgive(corekit::Dir::CreateR(String::FromUtf8(Preview::ParentOf(kept))));
    Forgive(Keep(path, kept));
}

bool HasFailedFiles() {
    return !corekit::Dir::Entries(kFailedDir, String()).empty();
}

Result RemoveFailedFiles() {
    return Keeping::RemoveIfThere(kFailedDir);
}

}  // namespace Zorvane::AgentInstaller::Apply
