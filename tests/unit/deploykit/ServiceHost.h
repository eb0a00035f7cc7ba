// A host for tests of services: its init scripts, run levels, units and tools are what the test puts there.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/EnvironmentVariable.h"
#include "tests/support/TestFiles.h"

/// Starts with an empty /etc/init.d, empty directories /etc/rc0.d to /etc/rc6.d, no units and no tools at
/// all.
class ServiceHost {
  public:
    ServiceHost() {
        namespace fs = std::filesystem;
        for (const char* tree : {"/etc/init.d", "/etc/rc.d", "/etc/systemd/system", "/run/systemd"})
            fs::remove_all(tree);
        fs::create_directory("/etc/init.d");
        for (const char level : std::string("0123456S"))
            fs::remove_all(std::string("/etc/rc") + level + ".d");
        for (const char level : std::string("0123456"))
            fs::create_directory(std::string("/etc/rc") + level + ".d");
    }

    /// Puts a tool on the search path that notes how it is called and then runs shell commands.
    void AddTool(const std::string& name, const std::string& commands = "") {
        testfiles::Write(m_tools / name,
                         "#!/bin/sh\necho \"" + name + " $*\" >>" + Log() + "\n" + commands + "\n", 0755);
    }

    /// Puts the host's own tool on the search path.
    void AddRealTool(const std::string& name) {
        testfiles::Write(m_tools / name,
                         "#!/bin/sh\nPATH=/usr/sbin:/usr/bin:/sbin:/bin exec " + name + " \"$@\"\n", 0755);
    }

    /// Where a tool stands that was added.
    std::string ToolPath(const std::string& name) const { return m_tools / name; }

    /// How the tools were called, a line each.
    std::string Calls() const { return testfiles::Exists(Log()) ? testfiles::Read(Log()) : ""; }

    /// All start and stop links of the host, sorted, as "rc2.d/S99agent -> ../init.d/agent".
    static std::vector<std::string> Links(const std::string& parent = "/etc") {
        namespace fs = std::filesystem;
        std::vector<std::string> links;
        for (const fs::directory_entry& level : fs::directory_iterator(parent)) {
            const std::string directory = level.path().filename();
            if (!directory.starts_with("rc") || !directory.ends_with(".d") || directory == "rc.d") continue;
            for (const fs::directory_entry& link : fs::directory_iterator(level.path())) {
                links.push_back(directory + "/" + link.path().filename().string());
                if (link.is_symlink()) links.back() += " -> " + fs::read_symlink(link.path()).string();
            }
        }
        std::ranges::sort(links);
        return links;
    }

  private:
    std::string Log() const { return m_tools / "calls"; }

    testfiles::TempDir m_tools;
    testsupport::EnvironmentVariable m_path{"PATH", m_tools.Path()};
};
