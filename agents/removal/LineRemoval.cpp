// Deletes lines as sed does, and replaces the file whole.
#include "agents/removal/LineRemoval.h"

#include <algorithm>

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"

namespace Zorvane::AgentInstaller {

using corekit::Result;
using corekit::String;

std::string WithoutLines(std::string_view content, std::span<const DeletedLines> deleted) {
    std::string remaining;
    std::string_view blockEnd;  // of the block that the line stands in; empty outside of one
    while (!content.empty()) {
        const std::string_view line = content.substr(0, content.find('\n'));
        const std::string_view withEnd = content.substr(0, line.size() + 1);
        content.remove_prefix(withEnd.size());
        if (!blockEnd.empty()) {
            if (line.find(blockEnd) != line.npos) blockEnd = {};
            continue;
        }
        const auto startsHere = [&](const DeletedLines& rule) { return line.find(rule.first) != line.npos; };
        const auto rule = std::ranges::find_if(deleted, startsHere);
        if (rule == deleted.end())
            remaining += withEnd;
        else
            blockEnd = rule->last;
    }
    return remaining;
}

Result DeleteLines(const String& path, std::span<const DeletedLines> deleted) {
    const auto file = corekit::Path::Canonicalise(path);
    if (!file) return file.error();
    const auto content = corekit::File::ReadBytes(*file);
    if (!content) return content.error();
    const std::string remaining = WithoutLines(*content, deleted);
    return remaining == *content ? Result()
                                 : corekit::File::WriteBytes(
                                       *file, remaining, {.hostDirectory = corekit::HostDirectory::Meant});
}

}  // namespace Zorvane::AgentInstaller
