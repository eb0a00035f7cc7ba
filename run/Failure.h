// Why a run fails: what a failed step returns, and what the operator is told of it when the run ends.
#pragma once

#include <tl/expected.hpp>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

struct Failure {
    corekit::String text;    // printed after "ERROR: "; empty when no step has a text of its own
    corekit::String reason;  // "<path>: No space left on device", printed below it; empty when there is none

    bool operator==(const Failure&) const = default;
};

/// The value of an operation, or why the run fails: `return Fail(L"Unable to write to file: ", path);`.
template <typename Value = void>
class [[nodiscard]] Outcome : public tl::expected<Value, Failure> {
  public:
    using tl::expected<Value, Failure>::expected;
};

/// Drops an outcome on purpose: the caller goes on whatever it was.
template <typename Value>
void Forgive(const Outcome<Value>&) {}

/// The failure `text` followed by `subject` (made printable).
[[nodiscard]] tl::unexpected<Failure> Fail(const corekit::String& text,
                                           const corekit::String& subject = corekit::String());

/// The failure `text` and the system's reason, "<path>: <why>". The whole text is the caller's.
[[nodiscard]] tl::unexpected<Failure> FailBecause(const corekit::String& text, const corekit::String& path,
                                                  const corekit::Result& cause);

/// The same with the path at the end of the text: "Unable to write to file: <path>".
[[nodiscard]] tl::unexpected<Failure> FailAt(const corekit::String& text, const corekit::String& path,
                                             const corekit::Result& cause);

}  // namespace Zorvane::AgentInstaller
