// A small installation of the agent for tests of the set-up steps.
#pragma once

#include <filesystem>
#include <gtest/gtest.h>

#include "integration/SetupSequence.h"
#include "run/Args.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace testsupport {

/// An install directory /opt/agent with a client.conf in place, and the context that the steps share.
class Installation : public testing::Test {
  protected:
    Installation() {
        m_settings.Value(L"InstallDir") = L"/opt/agent";
        m_context.settings = &m_settings;
        m_context.confPath = L"/opt/agent/etc/client.conf";
        Configure("");
    }
    ~Installation() override {
        std::filesystem::current_path("/");
        std::filesystem::remove_all("/opt/agent");
    }

    /// Writes the lines of client.conf's section Configuration.
    void Configure(const std::string& lines) {
        testfiles::Write("/opt/agent/etc/client.conf", "[Configuration]\n" + lines);
    }

    /// The text of the failure, or of there being none.
    static corekit::String TextOf(const Zorvane::AgentInstaller::Outcome<>& outcome) {
        return outcome ? corekit::String(L"(no failure)") : outcome.error().text;
    }
    static corekit::String ReasonOf(const Zorvane::AgentInstaller::Outcome<>& outcome) {
        return outcome ? corekit::String(L"(no failure)") : outcome.error().reason;
    }

    Zorvane::AgentInstaller::Settings m_settings;
    Zorvane::AgentInstaller::SetupContext m_context;
};

}  // namespace testsupport
