// The root of the agent family: one installation of the agent, of one version, that is or will be on this
// host.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "agents/removal/RemovalOutcome.h"
#include "corekit/ini/IniFile.h"
#include "corekit/os/Result.h"
#include "corekit/text/String.h"
#include "run/Failure.h"
#include "run/TrustedFile.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// The operations that differ between agent versions. None of them fails because something could not be
/// removed. Objects hold no open files between calls.
class Agent {
  public:
    Agent(const corekit::String& versionLabel, const corekit::String& installDir)
        : m_versionLabel(versionLabel), m_installDir(installDir) {}
    virtual ~Agent() = default;
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    /// The settings that the installed agent's client.conf provides, or null from a version that provides
    /// none. Fails when the file cannot be read.
    virtual Outcome<std::unique_ptr<Settings>> LoadSettings() = 0;

    /// Removes what ties the installation into the operating system: services and program links. Fails, and
    /// removes nothing, when it needs a client.conf and none is known.
    virtual Outcome<> RemoveSystemIntegration() = 0;

    /// Removes the installation's files. `newConfPath` is empty on a clean; on an upgrade it is the new
    /// client.conf, whose install directory and stores the data moves to. Fails when it needs a client.conf
    /// that is not known or cannot be read.
    virtual Outcome<> RemoveFiles(const corekit::String& newConfPath) = 0;

    /// Removes everything: the system integration and then, if that succeeded, the files. A client.conf that
    /// is not root's may name anything: then only the directory of the installation that it lies in goes,
    /// with everything in it, but no service and no links, and warnings name the paths elsewhere.
    virtual Outcome<> Clean();

    /// True if the installation's settings can be carried over.
    virtual bool IsUpgradeSupported() const { return true; }

    /// True if sub-agents register themselves in its client.conf (from version 6.0 on).
    virtual bool RegistersSubAgents() const { return false; }

    /// Major and minor version with a service-pack suffix, such as 6.0SP1.
    const corekit::String& VersionLabel() const { return m_versionLabel; }

    const corekit::String& InstallDir() const { return m_installDir; }

    /// The client.conf that describes the agent: the one that it was recognised by or, once that is
    /// saved, the copy; empty when there is none.
    const corekit::String& ConfPath() const { return m_confPath; }
    void SetConfPath(const corekit::String& path) { m_confPath = path; }

    /// Sets the file and the bytes that the agent was recognised by. From then on these bytes describe the
    /// agent, whatever becomes of the file.
    void SetConf(const TrustedFile& file, const std::string& bytes);

    /// The bytes that the agent was recognised by; without those, what the file holds now. Fails when the
    /// file cannot be read.
    corekit::Expected<std::string> ReadConf() const;

  protected:
    /// The agent's client.conf, whose keys are found in whichever case the agent wrote them; empty when there
    /// is none.
    corekit::IniFile OldConf() const;

    /// What could not be removed so far. While anything is left, client.conf stays, so that the next run
    /// finds it.
    RemovalOutcome m_left;

  private:
    Outcome<> CleanWithinBaseDir();

    corekit::String m_versionLabel;
    corekit::String m_installDir;
    corekit::String m_confPath;
    std::optional<std::string> m_confBytes;  // none: the file is read when it is needed
    bool m_isConfRoots = true;
};

}  // namespace Zorvane::AgentInstaller
