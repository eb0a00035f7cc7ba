// Compares the process that is there at short intervals.
#include "apply/AgentWatch.h"

#include "integration/AgentProcess.h"

namespace Zorvane::AgentInstaller::Apply {

std::optional<pid_t> WatchAgent(const corekit::String& installDir, unsigned seconds,
                                const std::function<bool(unsigned)>& pause) {
    constexpr unsigned kBetween = 250;
    constexpr unsigned kLongEnough = 2000;
    constexpr unsigned kSecond = 1000;
    std::optional<pid_t> agent;
    unsigned seenFor = 0;
    for (unsigned passed = 0;; passed += kBetween) {
        const std::optional<pid_t> now = FindAgentProcess(installDir);
        seenFor = now && now == agent ? seenFor + kBetween : 0;
        agent = now;
        if (seenFor >= kLongEnough) return agent;
        if (passed >= seconds * kSecond || !pause(kBetween)) return std::nullopt;
    }
}

}  // namespace Zorvane::AgentInstaller::Apply
