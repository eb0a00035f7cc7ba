// Wrapper scripts for programs, and the links to them.
#include "deploykit/WrapperLinkBackend.h"

#include <cerrno>

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/text/Text.h"

namespace deploykit::ItemInstallers::WrapperLinkBackend {

using corekit::Result;
using corekit::String;

namespace File = corekit::File;
namespace Path = corekit::Path;

namespace {

/// Always in quotes, whatever the directory is called: no character of it means anything to the shell.
String Quoted(const String& path) {
    return L"'" + corekit::Text::InShellQuotes(path) + L"'";
}

String WrapperText(const String& binary, const String& environmentScript) {
    return L"#!/bin/sh\n"
           L"# Runs a program in its environment. Made by the installation: changes are lost.\n"
           L". " +
           Quoted(environmentScript) +
           L"\n"
           L"exec " +
           Quoted(binary) + L" \"$@\"\n";
}

bool WriteWrapper(const String& wrapper, const String& text) {
    return File::WriteBytes(wrapper, text.Utf8(), 0755).Ok() && File::Chmod(wrapper, 0755).Ok();
}

/// Success when no file or link stands there afterwards; a directory of the name is none of ours.
Result RemoveFile(const String& path) {
    const Result removal = File::Remove(path);
    const bool isGone = removal.Code() == ENOENT || removal.Code() == ENOTDIR || File::IsDirectory(path);
    return isGone ? Result() : removal;
}

}  // namespace

bool Install(const String& program, const String& linkDir, const String& programDir,
             const String& environmentScript) {
    const String wrapper = Path::Join(programDir, program);
    if (!WriteWrapper(wrapper, WrapperText(wrapper + L".bin", environmentScript))) return false;
    if (Path::IsMatch(linkDir, programDir)) return true;
    return !linkDir.IsEmpty() && File::SymLink(wrapper, Path::Join(linkDir, program)).Ok();
}

Result Uninstall(const String& program, const String& linkDir, const String& programDir) {
    Result result;
    if (!linkDir.IsEmpty() && !Path::IsMatch(linkDir, programDir))
        result = RemoveFile(Path::Join(linkDir, program));
    return Worse(result, RemoveFile(Path::Join(programDir, program)));
}

}  // namespace deploykit::ItemInstallers::WrapperLinkBackend
