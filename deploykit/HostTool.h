// Tools of the host that are told to do something and answer nothing.
#pragma once

#include "corekit/text/String.h"

namespace deploykit {

/// Runs a program, given by its full path, with arguments that are written as a shell reads them, and waits
/// for it; an empty path runs nothing. What it prints is dropped; what it achieved is for the caller to look
/// at.
void RunHostTool(const corekit::String& program, const corekit::String& arguments);

}  // namespace deploykit
