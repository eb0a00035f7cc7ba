// Why a run fails: what a failed step returns, what the operator reads when the run ends, and the texts that
// several steps share.
#pragma once

#include <tl/expected.hpp>
#include <type_traits>
#include <utility>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

struct Failure {
    corekit::String text;    // printed after "ERROR: "; empty when no step has a text of its own
    corekit::String reason;  // "<path>: No space left on device", printed below it; empty when there is none

    /// The text, or the one of all failures that have none of their own.
    corekit::String Told() const;

    bool operator==(const Failure&) const = default;
};

/// The value of an operation, or the reason why the run fails: `return Fail(L"Unable to write to file: ",
/// path);`.
template <typename Value = void>
class [[nodiscard]] Outcome : public tl::expected<Value, Failure> {
  public:
    using tl::expected<Value, Failure>::expected;
    Outcome(Failure failure) : tl::expected<Value, Failure>(tl::unexpect, std::move(failure)) {}

    friend bool operator==(const Outcome& left, const Outcome& right) {
        if (!left || !right) return !left && !right && left.error() == right.error();
        if constexpr (std::is_void_v<Value>) {
            return true;
        } else {
            return *left == *right;
        }
    }
};

namespace Error {
inline corekit::String
    m_sErrorText;  // of the run's last failure that was told; empty: none with a text of its own
}

/// Drops an outcome on purpose: the caller goes on whatever it was.
template <typename Value>
void Forgive(const Outcome<Value>&) {}

/// The failure `text` followed by `subject` (made printable).
[[nodiscard]] Failure Fail(const corekit::String& text, const corekit::String& subject = corekit::String());

/// The failure `text` and the system's reason, "<path>: <why>", of the path that `cause` concerns or else of
/// `path`. The whole text is the caller's.
[[nodiscard]] Failure FailBecause(const corekit::String& text, const corekit::String& path,
                                  const corekit::Result& cause);

/// The same with the path at the end of the text: "Unable to write to file: <path>".
[[nodiscard]] Failure FailAt(const corekit::String& text, const corekit::String& path,
                             const corekit::Result& cause);

}  // namespace Zorvane::AgentInstaller

namespace Zorvane::AgentInstaller::Texts {

// The beginnings of errors; the path follows.
inline constexpr const wchar_t* kUnreadableFile = L"Missing or unreadable file in install. File: ";
inline constexpr const wchar_t* kUnwritableFile = L"Unable to write to file: ";

inline constexpr const wchar_t* kUnreadableConfiguration = L"Failed to read configuration files.";

}  // namespace Zorvane::AgentInstaller::Texts
