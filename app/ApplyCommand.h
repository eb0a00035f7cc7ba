// The command -apply: makes another command take effect as a whole, or leaves the host as it was.
#pragma once

#include <optional>

#include "app/PreviewedCommand.h"
#include "apply/Attempt.h"
#include "apply/SavedState.h"
#include "corekit/json/Json.h"

namespace Zorvane::AgentInstaller {

class ApplyCommand : public corekit::CommandBasedApp::Command {
  public:
    explicit ApplyCommand(const corekit::String& version) : m_version(version) {}

    unsigned Run(const std::vector<corekit::String>& arguments) override;
    void Usage(const corekit::String& prefix) const override;
    corekit::String Description() const override;

    /// As `PreviewCommand::WantsNoBanner`.
    static bool WantsNoBanner(const std::vector<corekit::String>& commandLine);

  private:
    struct Options {
        bool json = false;
        bool yes = false;
        bool orPlainly = false;
        corekit::String planFile;
        unsigned wait = 10;  // seconds
    };
    struct Result {
        bool wasRestored = false;
        bool hasFailedFiles = false;
        corekit::String error;  // empty after a success
        std::optional<pid_t> agent;
    };

    /// The number of arguments before the word of the command; none for a mistake in them.
    std::optional<std::size_t> ParseOptions(const std::vector<corekit::String>& arguments);

    unsigned Apply(const std::vector<corekit::String>& arguments);
    unsigned RunPlainly(const std::vector<corekit::String>& arguments);
    void Rehearse(const std::vector<corekit::String>& arguments);
    Outcome<> CheckRehearsal() const;
    void TellRecord(const std::vector<corekit::String>& arguments);
    bool IsAgreed() const;
    unsigned Attempt(const std::vector<corekit::String>& arguments);
    Outcome<> Perform(const std::vector<corekit::String>& arguments, Apply::Interruptions& interruptions);
    Outcome<> WatchAgent(Apply::Interruptions& interruptions);
    void PutBack();
    unsigned EndFailed(const Failure& failure);
    unsigned End();

    Apply::ToSave WhatToSave() const;

    corekit::String m_version;
    Options m_options;
    PreviewedCommand m_command;
    bool m_isWrongUse = false;       // of the command that is applied
    corekit::String m_xmlFile;       // of the rehearsed configuration; empty without one
    corekit::String m_runningAgent;  // the install directory of the agent that runs and has to be stopped
    RehearsedRun m_rehearsed;
    Result m_result;
};

}  // namespace Zorvane::AgentInstaller
