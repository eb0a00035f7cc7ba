// Tools of the host, run through the shell with their output dropped.
#include "deploykit/HostTool.h"

#include "corekit/process/Program.h"
#include "corekit/text/Text.h"

namespace deploykit {

void RunHostTool(const corekit::String& program, const corekit::String& arguments) {
    if (program.IsEmpty()) return;
    corekit::StringToMapFilter unused;
    Forgive(corekit::PosixLocaleProgram::Run(
        corekit::Text::ShellWord(program) + L" " + arguments + L" >/dev/null 2>&1", unused));
}

}  // namespace deploykit
