// What the tests of services share: a template, where its service goes, and the links that start it.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "deploykit/RCScriptBackend.h"
#include "tests/unit/deploykit/ServiceHost.h"

inline constexpr const char* kScript = "/etc/init.d/agent";
inline constexpr const char* kUnit = "/etc/systemd/system/agent.service";

inline constexpr const char* kTemplate =
    "#!/bin/sh\n"
    "# chkconfig: 345 90 10\n"
    "### BEGIN INIT INFO\n"
    "# Provides: agent\n"
    "# Required-Start:\n"
    "# Required-Stop:\n"
    "# Default-Start: 3\n"
    "# Default-Stop: 0\n"
    "# Short-Description: An agent\n"
    "### END INIT INFO\n"
    "run %INSTDIR%/bin/agent %ETCDIR%/agent.conf\n";

/// All links of a service started in the levels that most tests ask for, and stopped in the others.
inline std::vector<std::string> LinksWith(const std::string& startPrefix) {
    std::vector<std::string> links;
    for (const char level : std::string("0123456")) {
        const bool isStart = level == '2' || level == '3' || level == '5';
        links.push_back(std::string("rc") + level + ".d/" + (isStart ? startPrefix : "K01") +
                        "agent -> ../init.d/agent");
    }
    return links;
}

class RCScriptBackendTest : public testing::Test {
  protected:
    RCScriptBackendTest() { testfiles::Write(m_template, kTemplate); }

    corekit::Result Install(const corekit::String& start = L"2 3 5", const corekit::String& stop = L"0 1 4 6",
                            const corekit::String& name = L"agent") const {
        return deploykit::ItemInstallers::RCScriptBackend::Install(
            name, corekit::String::FromUtf8(m_template), L"/opt/z", start, stop);
    }

    ServiceHost m_host;
    testfiles::TempDir m_dir;
    std::string m_template = m_dir / "template";
};
