// Results: their kinds of errors and their text.
#include "corekit/os/Result.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace corekit {

namespace {

constexpr std::array kAbsences = {ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG};

/// The errors that the next try would get as well.
constexpr std::array kRefusals = {EPERM,  EBUSY, EROFS, EEXIST, ENOTEMPTY, EISDIR,
                                  EINVAL, EFBIG, ENXIO, ENODEV, EXDEV,     kBelongsToOthers};

}  // namespace

Result Result::FromErrno() {
    return Result(errno);
}

Result Result::About(const String& path) const {
    Result result = *this;
    if (!Ok() && m_path.IsEmpty()) result.m_path = path;
    return result;
}

bool IsNotFound(const Result& result) {
    return std::ranges::find(kAbsences, result.Code()) != kAbsences.end();
}

bool IsTransient(const Result& result) {
    return !result && !IsNotFound(result) && std::ranges::find(kRefusals, result.Code()) == kRefusals.end();
}

Result Worse(const Result& first, const Result& second) {
    if (IsTransient(first)) return first;
    return first && !second ? second : (IsTransient(second) ? second : first);
}

String GetErrorMsg(const Result& result) {
    if (result.Code() == kBelongsToOthers)
        return (result.Path().IsEmpty() ? String(L"it") : result.Path()) + L" belongs to another user";
    return String::FromUtf8(std::strerror(result.Code()));
}

}  // namespace corekit
