// The outcome of an operation on the system: success or a value, or the errno that stopped it and the path
// that it is about.
#pragma once

#include <cerrno>
#include <concepts>
#include <tl/expected.hpp>
#include <utility>

#include "corekit/text/String.h"

namespace corekit {

/// The errno value for a path that is not followed or not used because others could have put it there. No
/// system call that this program makes gives it.
inline constexpr int kBelongsToOthers = ENOLINK;

/// Success, or an errno value with the path that the failure concerns, if that is known. A result that is
/// dropped is a compile-time warning, unless it is given to `Forgive`.
class [[nodiscard]] Result {
  public:
    Result() = default;
    explicit Result(int errnoValue) : m_errno(errnoValue) {}

    /// The failure that errno tells of when this is called.
    static Result FromErrno();

    bool Ok() const { return m_errno == 0; }
    explicit operator bool() const { return Ok(); }

    /// 0 on success, else the errno value.
    int Code() const { return m_errno; }

    /// The same result; a failure that concerns no path yet concerns this one.
    Result About(const String& path) const;

    /// The path that a failure concerns; empty where it is not known.
    const String& Path() const { return m_path; }

    /// Results are equal when their errno values are, whatever path they concern.
    bool operator==(const Result& other) const { return m_errno == other.m_errno; }

  private:
    int m_errno = 0;
    String m_path;
};

/// A value, or the failure that left none: a function that has nothing to return but its outcome returns a
/// `Result`, and one that makes something an `Expected` of it. The failure goes on by `return made.error();`,
/// whatever the caller returns.
template <typename T>
class [[nodiscard]] Expected : public tl::expected<T, Result> {
  public:
    Expected(T value) : tl::expected<T, Result>(std::move(value)) {}
    Expected(const Result& failure) : tl::expected<T, Result>(tl::unexpect, failure) {}

    /// The same value; a failure that concerns no path yet concerns this one.
    Expected About(const String& path) && {
        return *this ? std::move(*this) : Expected(this->error().About(path));
    }

    /// Success, or the failure.
    Result Outcome() const { return *this ? Result() : this->error(); }

    /// True when it is this failure.
    bool operator==(const Result& failure) const { return Outcome() == failure; }
};

/// True if the failure says that nothing of that name is there. An error of a device, or too many open files,
/// says nothing about what is on the disk.
bool IsNotFound(const Result& result);

/// True if the failure says nothing about what is there, so that another try may succeed: an error of a
/// device, a full disk, too many open files ..., false for what is missing, of another kind, or refused.
bool IsTransient(const Result& result);

/// The one that tells more: a transient failure rather than a refusal, a failure rather than success, else
/// the first.
Result Worse(const Result& first, const Result& second);

/// Drops an outcome on purpose: the caller goes on whatever it was.
inline void Forgive(const Result&) {}
template <typename T>
void Forgive(const Expected<T>&) {}
constexpr void Forgive(std::same_as<bool> auto) {}

/// The system's text for a failure, such as "No such file or directory"; "<path> belongs to another user" for
/// `kBelongsToOthers`, with the path of the component that does.
String GetErrorMsg(const Result& result);

}  // namespace corekit
