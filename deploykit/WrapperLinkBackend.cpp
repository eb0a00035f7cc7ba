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

/// Always in quotes, so that no character of a directory's name means anything to the shell.
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

/// Makes a link. Replaces what stands in its place only if that is the caller's own; EEXIST otherwise.
Result MakeLink(const String& wrapper, const String& link, const OwnsLink& owns) {
    Result made = File::SymLink(wrapper, link, File::IfPresent::Keep);
    if (made.Code() != EEXIST) return made;
    const auto isOwn = owns(link);
    if (!isOwn) return isOwn.error();
    return *isOwn ? File::SymLink(wrapper, link) : made;
}

/// Success if no file or link stands there afterwards; a directory of the name is not ours.
Result RemoveFile(const String& path) {
    const Result removal = File::Remove(path, corekit::HostDirectory::Meant);
    const bool isGone = removal.Code() == ENOENT || removal.Code() == ENOTDIR || File::IsDirectory(path);
    return isGone ? Result() : removal;
}

/// EEXIST if a file, or a link wherever it leads, stands there that is not the caller's own.
Result CheckOwn(const String& path, const OwnsLink& owns) {
    const auto isOwn = owns(path);
    if (!isOwn || *isOwn) return isOwn.Outcome();
    const Result isNoLink = File::CheckNotLink(path);
    if (corekit::IsTransient(isNoLink)) return isNoLink;
    const bool isFile = File::Exists(path) && !File::IsDirectory(path);
    return Result(!isNoLink || isFile ? EEXIST : 0);
}

}  // namespace

Result Install(const String& program, const String& linkDir, const String& programDir,
               const String& environmentScript, const OwnsLink& owns) {
    const String wrapper = Path::Join(programDir, program);
    Result written = File::WriteScript(wrapper, WrapperText(wrapper + L".bin", environmentScript));
    if (!written || linkDir.IsEmpty() || Path::IsMatch(linkDir, programDir)) return written;
    return MakeLink(wrapper, Path::Join(linkDir, program), owns);
}

Result Uninstall(const String& program, const String& linkDir, const String& programDir,
                 const OwnsLink& owns) {
    Result result;
    if (!linkDir.IsEmpty() && !Path::IsMatch(linkDir, programDir)) {
        const String link = Path::Join(linkDir, program);
        result = CheckOwn(link, owns).About(link);
        if (result) result = RemoveFile(link);
    }
    return Worse(result, RemoveFile(Path::Join(programDir, program)));
}

}  // namespace deploykit::ItemInstallers::WrapperLinkBackend
