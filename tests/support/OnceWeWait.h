// Shell commands that outlast the steps of the process that runs them, without a pause that would have to be
// long enough.
#pragma once

namespace testsupport {

/// The beginning of a command line: the rest is run once the process that started the shell waits for
/// something.
constexpr const char* kOnceWeWait = "while grep -q '^State:.R' /proc/$PPID/status; do :; done; ";

}  // namespace testsupport
