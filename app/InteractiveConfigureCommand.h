// The command -iconfigure: the configure sequence with the questionnaire, and without any XML configuration
// file.
#pragma once

#include "app/ConfigureCommand.h"

namespace Zorvane::AgentInstaller {

class InteractiveConfigureCommand : public ConfigureCommand {
  public:
    unsigned Run(const std::vector<corekit::String>& arguments) override;
    void Usage(const corekit::String& prefix) const override;
    corekit::String Description() const override;

    std::unique_ptr<Settings> LoadXmlSettings() override { return nullptr; }
    bool RemoveXmlConfigFile() override { return true; }
};

}  // namespace Zorvane::AgentInstaller
