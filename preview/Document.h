// What a preview found, as the JSON document that programs read and the text report is made from.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "corekit/json/Json.h"
#include "preview/FileState.h"
#include "preview/Rehearse.h"

namespace Zorvane::AgentInstaller::Preview {

inline constexpr const char* kFormat = "qdn-configure/preview/1";

/// What is known before the command runs in the copy.
struct Request {
    std::string version;                 // of the program
    std::vector<std::string> command;    // its word and its options
    std::optional<std::string> refused;  // why the command would do nothing right now
    std::string banner;                  // what the program says before every command
    bool stopsAgent = false;             // the agent that runs would be stopped before
    bool withHashes = true;              // false: nobody is going to read a `sha256`
};

/// The document of what `rehearsal` left in the copy; its record is a JSON object as CBOR with `status`,
/// `start`, `settings`, `client_conf` (an object or null), `stores` (directories whose files are not shown)
/// and `places` (directories that must have been writable). Fails where one of those cannot be written in the
/// copy, and with the text of `failure` where there is one.
Outcome<corekit::Json> MakeDocument(const Request& request, const HostCopy& copy, const Rehearsal& rehearsal);

/// The document of a preview that was not possible.
corekit::Json MakeFailedDocument(const Request& request, const std::string& error);

/// What an entry is, as the changes of a document tell it; null for none. The bytes are read from `at`.
corekit::Json StateAsJson(const std::optional<FileState>& state, const std::string& at, bool withHash);

/// The document as it is printed: files with secrets have no `sha256`.
corekit::Json Printed(corekit::Json document);

/// The document as it is kept in a file, with every `sha256`.
corekit::Json Kept(corekit::Json document);

}  // namespace Zorvane::AgentInstaller::Preview
