// The command -status: tells what is installed and whether it is as it was configured, and changes nothing.
#pragma once

#include <optional>

#include "corekit/os/Application.h"

namespace Zorvane::AgentInstaller {

class StatusCommand : public corekit::CommandBasedApp::Command {
  public:
    explicit StatusCommand(const corekit::String& version) : m_version(version) {}

    unsigned Run(const std::vector<corekit::String>& arguments) override;
    void Usage(const corekit::String& prefix) const override;
    corekit::String Description() const override;

    /// True when a command line, from its command word on, asks for nothing but a JSON document on standard
    /// output: then not even the banner is to be written.
    static bool WantsNoBanner(const std::vector<corekit::String>& commandLine);

  private:
    struct Options {
        bool json = false;
        bool connect = false;
        corekit::String directory;  // empty: the one that is found
    };

    /// None for a mistake on the command line.
    static std::optional<Options> ParseOptions(const std::vector<corekit::String>& arguments);

    corekit::String m_version;
};

}  // namespace Zorvane::AgentInstaller
