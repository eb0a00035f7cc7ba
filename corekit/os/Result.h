// The outcome of an operation on the system: success, or the errno that stopped it.
#pragma once

#include <concepts>

#include "corekit/text/String.h"

namespace corekit {

/// Success, or an errno value. A result that is not looked at is a compile-time warning; one that does not
/// matter is given to `Forgive`.
class [[nodiscard]] Result {
  public:
    constexpr Result() = default;
    constexpr explicit Result(int errnoValue) : m_errno(errnoValue) {}

    /// The failure that errno tells of now.
    static Result FromErrno();

    constexpr bool Ok() const { return m_errno == 0; }
    constexpr explicit operator bool() const { return Ok(); }

    /// 0 on success, else the errno value.
    constexpr int Code() const { return m_errno; }

    constexpr bool operator==(const Result&) const = default;

  private:
    int m_errno = 0;
};

/// Does the failure say that nothing of that name is there? No other one does: a device that gives an error,
/// or a process that has too many files open, tells nothing about what is on the disk.
bool IsNotFound(const Result& result);

/// Does the failure say nothing about what is there, so that another try may go well? True for an error of a
/// device, a full disk, too many open files ..., false for what is missing, of another kind, or refused.
bool IsTransient(const Result& result);

/// The one that tells more: trouble rather than what was refused, a failure rather than success, else the
/// first.
Result Worse(const Result& first, const Result& second);

/// Drops an outcome on purpose: the caller goes on whatever it was.
constexpr void Forgive(const Result&) {}
constexpr void Forgive(std::same_as<bool> auto) {}

/// The system's text for a failure, such as "No such file or directory".
String GetErrorMsg(const Result& result);

}  // namespace corekit
