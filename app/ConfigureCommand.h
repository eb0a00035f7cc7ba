// The commands -configure and -iconfigure, and the configure sequence that both run.
#pragma once

#include <memory>

#include "app/ChangingCommand.h"
#include "app/XmlConfigFile.h"
#include "run/Failure.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

struct ConfigureRun;

class ConfigureCommand : public ChangingCommand {
  public:
    corekit::String Word() const override { return L"-configure"; }
    void Usage(const corekit::String& prefix) const override;
    corekit::String Description() const override;
    corekit::String Refusal(const std::vector<corekit::String>& arguments) const override;
    const Settings* LastSettings() const override { return m_lastSettings.get(); }

    /// The configure sequence. Returns the program's status, 0 or 1.
    virtual unsigned Configure();

    /// The settings of the XML configuration file; null when there is none.
    virtual std::unique_ptr<Settings> LoadXmlSettings();

    /// Removes the XML configuration file. Returns false to stop the sequence.
    virtual bool RemoveXmlConfigFile();

  protected:
    enum class NoIMode { Accepted, Unknown };

    /// Runs the sequence after the refusals and the options that both commands share.
    unsigned RunWithOptions(const std::vector<corekit::String>& arguments, NoIMode noIMode);

    /// Makes the run ask its questions.
    void SetInteractive() { m_bInteractive = true; }

  private:
    unsigned Perform(const std::vector<corekit::String>& arguments) override;
    unsigned ParseOptions(const std::vector<corekit::String>& arguments, NoIMode noIMode);

    Outcome<> GatherSettings(ConfigureRun& run);
    Outcome<> DecideOnUpgrade(ConfigureRun& run);
    Outcome<> DecideWithoutUpgrade(ConfigureRun& run);

    bool m_bNoIMode = false;
    bool m_bInteractive = false;
    corekit::String m_sDir;
    XmlConfigFile m_xmlFile;
    std::shared_ptr<const Settings> m_lastSettings;
};

/// -iconfigure: the configure sequence with the questionnaire, and without any XML configuration file.
class InteractiveConfigureCommand : public ConfigureCommand {
  public:
    corekit::String Word() const override { return L"-iconfigure"; }
    void Usage(const corekit::String& prefix) const override;
    corekit::String Description() const override;

    std::unique_ptr<Settings> LoadXmlSettings() override { return nullptr; }
    bool RemoveXmlConfigFile() override { return true; }

  private:
    unsigned Perform(const std::vector<corekit::String>& arguments) override;
};

}  // namespace Zorvane::AgentInstaller
