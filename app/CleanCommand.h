// The command -clean: removes what configuring made, before the package goes.
#pragma once

#include "app/ChangingCommand.h"

namespace Zorvane::AgentInstaller {

class CleanCommand : public ChangingCommand {
  public:
    corekit::String Word() const override { return L"-clean"; }
    void Usage(const corekit::String& prefix) const override;
    corekit::String Description() const override;
    corekit::String Refusal(const std::vector<corekit::String>& arguments) const override;
    corekit::String LastingRefusal(const std::vector<corekit::String>& arguments) const override;

  private:
    unsigned Perform(const std::vector<corekit::String>& arguments) override;
};

}  // namespace Zorvane::AgentInstaller
