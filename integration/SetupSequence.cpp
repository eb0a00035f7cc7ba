// The set-up sequence: its steps, their order, and what is looked at before each.
#include "integration/SetupSequence.h"

#include "config/ConfiguredDirectories.h"
#include "config/GuidFile.h"
#include "corekit/fs/Access.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/ini/IniFile.h"
#include "run/Keys.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::IniFile;
using corekit::Result;
using corekit::String;

namespace {

constexpr unsigned kPrivate = 0600;  // until the modes are set

/// Makes a directory the current one for as long as it lives: client.conf may name paths relative to it.
class CurrentDirectory {
  public:
    explicit CurrentDirectory(const String& path) {
        m_before = corekit::Dir::GetCurrent().value_or(String());
        Forgive(corekit::Dir::SetCurrent(path));  // it may still have to be made
    }
    // The steps that follow make another one the current directory.
    ~CurrentDirectory() { Forgive(corekit::Dir::SetCurrent(m_before)); }
    CurrentDirectory(const CurrentDirectory&) = delete;
    CurrentDirectory& operator=(const CurrentDirectory&) = delete;

  private:
    String m_before;
};

Failure FailToPlace(const String& path, const Result& cause) {
    return FailAt(L"Failed to create the new config file: ", path, cause);
}

String ClientConfPath(const SetupContext& context) {
    return context.settings->Get(L"InstallDir") + Names::kClientConf;
}

Outcome<> CheckClientConf(const SetupContext& context) {
    const String path = ClientConfPath(context);
    if (const Result replaceable = corekit::Access::CheckReplaceable(path); !replaceable)
        return FailToPlace(path, replaceable);
    return {};
}

Outcome<> CheckDirectories(const SetupContext& context) {
    return CheckConfiguredDirectories(IniFile(context.confPath));
}

Outcome<> PrepareDirectories(const SetupContext& context) {
    const IniFile conf(context.confPath);
    RemoveUnwantedGuidFile(conf, *context.settings);
    const auto prepared = PrepareConfiguredDirectories(conf);
    return prepared && !context.replacesAgent ? WriteGuidFile(conf, *context.settings) : prepared;
}

/// The identifier is on the host before the old agent's file of it goes. Where its directory cannot be made,
/// the step that prepares the directories says so.
Outcome<> WriteIdentifierEarly(const SetupContext& context, const IniFile& conf) {
    if (!context.settings->IsSet(L"Guid")) return {};
    const CurrentDirectory there(context.settings->Get(L"InstallDir"));
    const String path = GetValue(conf, Key::kGuidFile);
    // Without the directory the file cannot be written, and that is warned of.
    if (!path.IsEmpty()) Forgive(CreateConfiguredDirectory(corekit::Path::GetDirectory(path)));
    return WriteGuidFile(conf, *context.settings);
}

/// The check of a step that cannot fail.
Outcome<> CheckNothing(const SetupContext&) {
    return {};
}

/// A step. `check` is called before the run changes anything, and fails as `run` would.
struct Step {
    Outcome<> (*check)(const SetupContext&);
    Outcome<> (*run)(const SetupContext&);
};
constexpr Step kSteps[] = {
    {CheckDirectories, PrepareDirectories},       {CheckEnvironmentScript, CreateScriptsStep},
    {CheckRunLevelScripts, SetUpRunLevelScripts}, {CheckNothing, CreateProgramLinks},
    {CheckNothing, SetInstallPermissions},        {CheckNothing, SetSecurityLabels},
};

}  // namespace

Outcome<> CheckSetupSequence(const SetupContext& context) {
    const CurrentDirectory there(context.settings->Get(L"InstallDir"));
    if (const auto placeable = CheckClientConf(context); !placeable) return placeable;
    for (const Step& step : kSteps) {
        if (const auto possible = step.check(context); !possible) return possible;
    }
    return {};
}

Outcome<> PlaceClientConf(SetupContext& context) {
    if (const auto placeable = CheckClientConf(context); !placeable) return placeable;
    const String confPath = ClientConfPath(context);
    const auto generated = corekit::File::ReadBytes(context.generatedConfPath);
    if (!generated) return FailToPlace(confPath, generated.error());
    const IniFile conf(context.generatedConfPath, *generated, IniFile::KeyCase::Exact);
    if (context.replacesAgent) {
        if (const auto written = WriteIdentifierEarly(context, conf); !written) return written;
    }
    context.isFirst = !corekit::File::Exists(confPath);
    // It is written anew rather than moved: a file keeps the security label of where it was made, and the one
    // that is replaced may have attributes of its own.
    const Result placed = corekit::File::WriteBytes(confPath, *generated, {.mode = kPrivate});
    if (!placed) return FailToPlace(confPath, placed);
    // The next run removes it if it stays.
    Forgive(corekit::File::Remove(context.generatedConfPath, corekit::HostDirectory::Meant));
    context.confPath = confPath;
    return {};
}

Outcome<> RunSetupSequence(const SetupContext& context) {
    // The directory is there by now, since client.conf lies in it. If it cannot be entered, a step that
    // uses a relative path fails.
    Forgive(corekit::Dir::SetCurrent(context.settings->Get(L"InstallDir")));
    for (const Step& step : kSteps) {
        if (const auto done = step.run(context); !done) return done;
    }
    return {};
}

}  // namespace Zorvane::AgentInstaller
