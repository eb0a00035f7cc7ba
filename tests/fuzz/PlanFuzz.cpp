// Plans: whatever stands in the file, it is followed only if it says what the rehearsal has found.
#include <nlohmann/json.hpp>
#include <sys/mman.h>
#include <unistd.h>

#include "apply/Plan.h"
#include "corekit/os/Descriptor.h"
#include "preview/Document.h"
#include "tests/fuzz/Property.h"
#include "tests/fuzz/Targets.h"

namespace fuzz {

using corekit::Json;
using corekit::String;
using Zorvane::AgentInstaller::Apply::CheckPlan;

namespace {

/// Whether -apply would follow a plan of these bytes, where the rehearsal has found what the document says.
bool IsFollowed(const std::string& plan, const Json& document) {
    static const corekit::Descriptor file(memfd_create("plan", 0));
    static const String path = L"/proc/self/fd/" + String::FromInt(file.Get());
    Holds(ftruncate(file.Get(), 0) == 0 &&
              pwrite(file.Get(), plan.data(), plan.size(), 0) == static_cast<ssize_t>(plan.size()),
          "the file can be written");
    return CheckPlan(path, document).has_value();
}

const Json& Found() {
    static const Json document = corekit::ParseJson(R"({"format": "qdn-configure/preview/1",
        "command": ["-configure", "-noimode"], "agent": {"start": true}, "changes": [
        {"path": "/etc/init.d/zorvane", "action": "create"},
        {"path": "/opt/caf\uFFFD", "path_base64": "L29wdC9jYWbp", "action": "remove"}]})");
    return document;
}

}  // namespace

void Plan(std::string_view input) {
    const std::string text(input);
    const Json plan = corekit::ParseJson(text);
    if (IsFollowed(text, Found())) {
        Holds(plan["command"] == Found()["command"], "a plan that is followed is of the same command");
        Holds(plan["changes"].size() >= Found()["changes"].size(), "a plan that is followed has all changes");
        Holds(IsFollowed(corekit::JsonDocument(plan), Found()), "how a plan is written does not matter");
    }
    if (plan.is_discarded()) return;
    Holds(corekit::ParseJson(corekit::JsonLine(plan)) == plan, "what is written in one line reads the same");
    Holds(corekit::ParseCbor(corekit::Cbor(plan)) == plan, "what is kept in bytes reads the same");
}

}  // namespace fuzz
