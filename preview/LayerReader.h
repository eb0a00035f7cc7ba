// Reads one file system of a copy of the host: its entries, and how the overlay notes what became of a name.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "preview/FileState.h"
#include "preview/HostCopy.h"

namespace Zorvane::AgentInstaller::Preview {

// The marks of the upper layer are extended attributes, of root's or, in a user namespace, of anyone's.
inline constexpr const char* kOpaque = "overlay.opaque";      // a directory: nothing of the lower layer shows
inline constexpr const char* kRedirect = "overlay.redirect";  // what it shows stands elsewhere in that
inline constexpr const char* kMetacopy =
    "overlay.metacopy";                                   // a file: its bytes are those of the lower layer
inline constexpr const char* kOrigin = "overlay.origin";  // it was copied from the lower layer

/// A directory of this name has been taken away in the copy, and is nothing but in the way.
inline constexpr std::string_view kTakenAway = ".qdn-configure-taken-away-";

/// The directory, "/" and the name, also below the top "".
std::string Joined(std::string directory, const std::string& name);

/// What stood at a name before, as a path in the lower layer ("" is its top); none where nothing can have
/// been.
using Before = std::optional<std::string>;

Before Below(const Before& directory, const std::string& name);

/// What the system does not tell counts as not there while somebody reads, who then asks `FirstFailure`
/// whether that has been so.
class LayerReader {
  public:
    explicit LayerReader(const Layer& layer) : m_layer(layer) {}

    /// None when nothing is there.
    std::optional<FileState> StateOf(const std::string& path);
    std::optional<struct stat> StatOf(const std::string& path);

    /// The names in a directory but those of what has been taken away.
    std::set<std::string> NamesIn(const std::string& directory);

    /// The number of entries below a directory, at all levels, without those at `paths` and what is below
    /// them.
    std::uint64_t CountEntriesBut(const std::set<std::string>& paths, const std::string& directory);

    /// See `Preview::IsSameContent`.
    bool IsSameContent(const FileState& left, const std::string& leftPath, const FileState& right,
                       const std::string& rightPath);

    /// The value of a mark of an entry of the upper layer; none without it.
    std::optional<std::string> MarkOf(const std::string& path, const std::string& name);

    /// Where the contents of a directory, or the bytes of a file, are from; none when that is its own place.
    Before SourceOf(const std::string& path, const Before& before);

    /// The path that something in the layer has on the host.
    std::string HostPath(const std::string& path) const;

    /// The first thing that the system did not tell.
    const corekit::Result& FirstFailure() const { return m_failure; }

  protected:
    const Layer& m_layer;

  private:
    /// Keeps the first failure but of what is not there.
    void Note(const corekit::Result& result, const std::string& path);

    corekit::Result m_failure;
};

/// True for the mark of a name that was taken away.
bool IsWhiteout(const struct stat& info);

}  // namespace Zorvane::AgentInstaller::Preview
