// Paths as text: parts, joins, absolute forms, and whether two of them name the same place.
#pragma once

#include "corekit/Result.h"
#include "corekit/String.h"

namespace corekit::Path {

/// What stands before the last "/" ("/" for a name in the root, "" without any "/").
String GetDirectory(const String& path);

/// What stands after the last "/"; everything without one.
String GetFileName(const String& path);

/// The directory, one "/" and the name; the name alone without a directory.
String Join(const String& directory, const String& name);

/// The path from the root on. An absolute path stays as it is; of a relative one the leading "." and ".." are
/// resolved against the current directory. Fails for an empty path, and when the current directory cannot be
/// told.
Result MakeAbsolute(const String& path, String& absolute);

/// The path with every link, "." and ".." resolved. Fails when it does not exist.
Result Canonicalise(const String& path, String& canonical);

/// The same as far as the path exists; what is missing of it follows as text, "." and ".." taken out. An
/// empty path stays empty.
String Resolve(const String& path);

/// Do both name the same place: one resolved path, or one directory that is mounted twice? An empty path
/// names no place.
bool IsMatch(const String& left, const String& right);

/// Is `path` that place or anything below `directory`, in the same sense?
bool IsWithin(const String& path, const String& directory);

}  // namespace corekit::Path
