// The words of an unfinished run's mark, and the trust in the package scripts' marker.
#include "run/Marks.h"

#include <algorithm>
#include <iterator>

#include "corekit/fs/Access.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "run/Failure.h"
#include "run/Names.h"
#include "run/TrustedFile.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
namespace File = corekit::File;

namespace {

struct Word {
    Unfinished what;
    const wchar_t* word;
};
constexpr Word kWords[] = {
    {Unfinished::Saving, L"saving"},
    {Unfinished::FirstConfiguration, L"first configuration"},
    {Unfinished::Upgrade, L"upgrade"},
};

bool IsReinstallMarkerThere() {
    return corekit::File::Probe(Names::kReinstallClientConf).Ok();
}

}  // namespace

Unfinished FindUnfinishedRun(const String& installDir) {
    const String path = installDir + Names::kUnfinished;
    // Where the mark cannot be looked up, client.conf beside it cannot either, and whoever reads that fails.
    if (installDir.IsEmpty() || !File::Probe(path)) return Unfinished::Nothing;
    const auto text = File::Read(path);
    const auto* const row = std::ranges::find(kWords, text.value_or(String()).Trim(), &Word::word);
    if (row != std::end(kWords)) return row->what;
    if (File::Exists(installDir + Names::kSavedClientConf)) return Unfinished::Upgrade;
    return text ? Unfinished::FirstConfiguration : Unfinished::Saving;
}

Outcome<> CheckUnfinishedMark(const String& installDir) {
    const String path = installDir + Names::kUnfinished;
    if (const auto replaceable = corekit::Access::CheckReplaceable(path); !replaceable)
        return FailAt(Texts::kUnwritableFile, path, replaceable);
    return {};
}

Outcome<> MarkUnfinishedRun(const String& installDir, Unfinished what) {
    const String path = installDir + Names::kUnfinished;
    const auto* const row = std::ranges::find(kWords, what, &Word::what);
    // Without the directory the mark cannot be written, which is the failure.
    Forgive(corekit::Dir::CreateR(corekit::Path::GetDirectory(path)));
    if (const auto written = File::Write(path, String(row->word) + L"\n"); !written)
        return FailAt(Texts::kUnwritableFile, path, written);
    return {};
}

Outcome<> MarkFinishedRun(const String& installDir) {
    const String path = installDir + Names::kUnfinished;
    if (const auto removed = File::Remove(path); !removed && !IsNotFound(removed))
        return FailAt(L"Unable to remove file: ", path, removed);
    return {};
}

bool IsReinstallPending() {
    return IsReinstallMarkerThere() &&
           TrustedFile(Names::kReinstallClientConf, ChosenBy::Program).MayBeUsed();
}

void WarnOfUnusedReinstallMarker() {
    if (!IsReinstallMarkerThere()) return;
    const TrustedFile marker(Names::kReinstallClientConf, ChosenBy::Program);
    if (!marker.MayBeUsed()) marker.WarnNotUsed(marker.WhyNot());
}

}  // namespace Zorvane::AgentInstaller
