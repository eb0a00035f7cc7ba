// How an overlay file system notes in its upper layer what became of a name.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "preview/HostCopy.h"

namespace Zorvane::AgentInstaller::Preview {

// The marks are extended attributes, of root's or, in a user namespace, of anyone's.
inline constexpr const char* kOpaque = "overlay.opaque";      // a directory: nothing of the lower layer shows
inline constexpr const char* kRedirect = "overlay.redirect";  // what it shows stands elsewhere in that
inline constexpr const char* kMetacopy =
    "overlay.metacopy";                                   // a file: its bytes are those of the lower layer
inline constexpr const char* kOrigin = "overlay.origin";  // it was copied from the lower layer

/// The value of a mark of an entry of the upper layer; none without it.
std::optional<std::string> MarkOf(const std::string& path, const std::string& name);

/// True for the mark of a name that was taken away.
bool IsWhiteout(const std::string& path);

/// A directory of this name has been taken away in the copy, and is nothing but in the way.
inline constexpr std::string_view kTakenAway = ".qdn-configure-taken-away-";

/// All names in a directory but those.
std::set<std::string> NamesIn(const std::string& directory);

/// The directory, "/" and the name, also below the top "".
std::string Joined(std::string directory, const std::string& name);

/// What stood at a name before, as a path in the lower layer ("" is its top); none where nothing can have
/// been.
using Before = std::optional<std::string>;

Before Below(const Before& directory, const std::string& name);

/// Where the contents of a directory, or the bytes of a file, are from; none when that is its own place.
Before SourceOf(const Layer& layer, const std::string& path, const Before& before);

/// The path that something in a layer has on the host.
std::string HostPath(const Layer& layer, const std::string& path);

}  // namespace Zorvane::AgentInstaller::Preview
