// Runs code in a copy of the host, in processes that end with this one.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "preview/HostCopy.h"

namespace Zorvane::AgentInstaller::Preview {

/// What the code in the copy said.
struct Rehearsal {
    std::string record;  // what it returned
    std::string output;  // standard output
    std::string errors;  // standard error
};

/// Who reads standard output while the code runs, besides `Rehearsal`.
struct Audience {
    int terminal = -1;  // -1: nobody
};

/// What a rehearsal may take; one that takes more fails.
struct Limits {
    unsigned long long bytes = QuarterOfMemory();               // for what is written
    std::chrono::milliseconds time = std::chrono::minutes(10);  // where nobody is asked anything
};

/// The failure of a preview that the system does not allow: "The preview failed: <path>: <why>."
[[nodiscard]] Failure FailToPreview(const corekit::Result& cause);

/// Runs `code` with the copy of the host as its root, then `tell`, which sees the host and the copy, and
/// returns what that returned. No process of theirs can reach one of the host, or be reached by its sockets.
/// Standard input is this process's. Fails with a text that says what to do: one that begins with
/// `kNotPossible` when there can be no copy or what was written does not fit into memory, another when the
/// code was ended from outside and, without an audience, when the time is over.
Outcome<std::string> Rehearse(
    const std::function<std::string()>& code,
    const std::function<Outcome<std::string>(const HostCopy&, const Rehearsal&)>& tell, Audience audience,
    const Limits& limits = {});

}  // namespace Zorvane::AgentInstaller::Preview
