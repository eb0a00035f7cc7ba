// Finding programs and running shell commands.
#pragma once

#include <map>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit {

namespace Program {

/// The full path of a program in the absolute directories of PATH (the usual ones if it has none), or "" if
/// there is none.
String Locate(const String& name);

/// The full path of a file in the first directory of a colon-separated list that holds it, or "" if none
/// does.
String Search(const String& directories, const String& name);

/// Runs a program, given by its full path, with arguments that are written as a shell reads them, and waits
/// for it to end. An empty path runs nothing. Drops its output, its status and a failure to start it: the
/// caller looks at what it achieved.
void RunSilently(const String& program, const String& arguments);

}  // namespace Program

/// Keeps the lines of a command's output in a map: the first under "RawData0", the next under "RawData1" ...
class StringToMapFilter {
  public:
    std::map<String, String, Ltstr>& Map() { return m_map; }
    void Clear();
    void Line(const String& line);

    /// The line of that number, from 0; "" when there was none.
    String RawData(std::size_t number) const;
    std::size_t Count() const { return m_map.size(); }

  private:
    std::map<String, String, Ltstr> m_map;
};

namespace PosixLocaleProgram {

/// Runs a command line with /bin/sh under LC_ALL=POSIX and waits for it to end, however long it takes; a
/// daemon that it leaves behind is not waited for. Standard input is /dev/null, standard error is passed on,
/// no other descriptor is inherited, signals have their default dispositions, and there is no terminal. The
/// variables by which a caller could change what a shell or the loader does (LD_*, IFS, BASH_ENV, ENV,
/// SHELLOPTS, BASHOPTS, exported functions ...) are left out; of PATH the absolute directories stay. `filter`
/// is cleared and then holds the lines of standard output. Fails, with an empty filter, if the shell cannot
/// be started or its output cannot be read; the exit status of the command is ignored.
Result Run(const String& commandLine, StringToMapFilter& filter);

}  // namespace PosixLocaleProgram

}  // namespace corekit
