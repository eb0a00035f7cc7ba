// The command -preview: shows what another command would do, and changes nothing.
#pragma once

#include "app/PreviewedCommand.h"

namespace Zorvane::AgentInstaller {

class PreviewCommand : public corekit::CommandBasedApp::Command {
  public:
    explicit PreviewCommand(const corekit::String& version) : m_version(version) {}

    unsigned Run(const std::vector<corekit::String>& arguments) override;
    void Usage(const corekit::String& prefix) const override;
    corekit::String Description() const override;

    /// True when a command line, from its command word on, asks for nothing but a JSON document on standard
    /// output: then not even the banner is to be written.
    static bool WantsNoBanner(const std::vector<corekit::String>& commandLine);

  private:
    struct Options {
        bool json = false;
        bool exitCode = false;
        corekit::String outFile;
    };

    /// The number of arguments before the word of the previewed command.
    std::size_t ParseOptions(const std::vector<corekit::String>& arguments);
    std::shared_ptr<const corekit::Json> Rehearsed(const std::vector<corekit::String>& arguments);
    unsigned Report(const corekit::Json& document, bool wasSeen) const;

    corekit::String m_version;
    Options m_options;
    PreviewedCommand m_command;
    bool m_isWrongUse = false;  // of the previewed command
};

}  // namespace Zorvane::AgentInstaller
