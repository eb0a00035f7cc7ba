// Paths as text: parts, joins, absolute forms, and whether two of them name the same place.
#pragma once

#include <optional>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit::Path {

/// What stands before the last "/" ("/" for a name in the root, "" without any "/").
String GetDirectory(const String& path);

/// What stands after the last "/"; everything without one.
String GetFileName(const String& path);

/// The directory, one "/" and the name; the name alone without a directory.
String Join(const String& directory, const String& name);

/// The path without the slashes at its end, with which the system would follow a link; "/" for the root.
String WithoutTrailingSlashes(const String& path);

/// The same without a "/." either: the name by which a directory can be moved and removed.
String WithoutTrailingDots(const String& path);

/// The path from the root on. An absolute path stays as it is; of a relative one the leading "." and ".." are
/// resolved against the current directory. Fails for an empty path, and when the current directory cannot be
/// told.
Expected<String> MakeAbsolute(const String& path);

/// The path with every link, "." and ".." resolved. Fails when it does not exist, and at a link that may not
/// be followed (`kBelongsToOthers`).
Expected<String> Canonicalise(const String& path);

/// The same, as far as the path exists and may be followed; in the rest "." and ".." are resolved as text. An
/// empty path stays empty.
String Resolve(const String& path);

/// True if both name the same place: one resolved path, or one directory that is mounted twice. An empty path
/// names no place.
bool IsMatch(const String& left, const String& right);

/// True if `path` is `directory` or lies below it, in the same sense.
bool IsWithin(const String& path, const String& directory);

/// A resolved path with the directories above it, looked up once, for comparing it with many others.
class AncestorChain {
  public:
    AncestorChain() = default;  // of no path
    explicit AncestorChain(const String& path);

    /// The same as Path::IsWithin.
    bool IsWithin(const AncestorChain& directory) const;

  private:
    struct Level {
        String path;  // resolved
        std::optional<std::pair<dev_t, ino_t>> directory;

        explicit Level(const String& resolved);
        bool operator==(const Level& other) const;
    };

    std::vector<Level> m_levels;  // the path itself first; none: of no path
};

}  // namespace corekit::Path
