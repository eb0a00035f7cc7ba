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
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// What differs between agent versions lives behind these operations. Failure is a bool or null result;
/// deletions ignore their failures. Objects hold no open files between calls.
class Agent {
  public:
    Agent(const corekit::String& versionLabel, const corekit::String& installDir)
        : m_versionLabel(versionLabel), m_installDir(installDir) {}
    virtual ~Agent() = default;
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    /// What the installed agent's client.conf provides; null when nothing can be loaded.
    virtual std::unique_ptr<Settings> LoadSettings() = 0;

    /// Removes what ties the installation into the operating system: services and program links. False, and
    /// nothing is removed, when that takes a client.conf and none is known.
    virtual bool RemoveSystemIntegration() = 0;

    /// Removes the installation's files. `newConfPath` is empty on a clean; on an upgrade it is the new
    /// client.conf, whose install directory and stores the data moves to. False when that takes a client.conf
    /// that is not known or cannot be read; the error text may say why.
    virtual bool RemoveFiles(const corekit::String& newConfPath) = 0;

    /// Removes everything: the system integration and then, if that succeeded, the files.
    virtual bool Clean();

    /// Can the installation's settings be carried over?
    virtual bool IsUpgradeSupported() const { return true; }

    /// Do sub-agents register themselves in its client.conf (from version 6.0 on)?
    virtual bool RegistersSubAgents() const { return false; }

    /// Major and minor version with a service-pack suffix, such as 6.0SP1.
    const corekit::String& VersionLabel() const { return m_versionLabel; }

    const corekit::String& InstallDir() const { return m_installDir; }

    /// The client.conf that describes the agent: the one that it was recognised by or, once that is
    /// saved, the copy; empty when there is none.
    const corekit::String& ConfPath() const { return m_confPath; }
    void SetConfPath(const corekit::String& path) { m_confPath = path; }

    /// That file, and what it held when the agent was recognised by it: from then on the agent is what these
    /// bytes say, whatever becomes of the file.
    void SetConf(const corekit::String& path, const std::string& bytes);

    /// What it held then; without that, what the file holds now, and a failure when it cannot be read.
    corekit::Expected<std::string> ReadConf() const;

  protected:
    /// That file, its keys found in whichever case the agent wrote them; empty when there is none.
    corekit::IniFile OldConf() const;

    /// What could not be removed so far. While there is something, the configuration by which the next run
    /// finds it stays.
    RemovalOutcome m_left;

  private:
    corekit::String m_versionLabel;
    corekit::String m_installDir;
    corekit::String m_confPath;
    std::optional<std::string> m_confBytes;  // none: the file is read when it is needed
};

}  // namespace Zorvane::AgentInstaller
