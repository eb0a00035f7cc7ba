// The records of older stores: read as fields, written anew, moved to their new names.
#pragma once

#include <map>

#include "corekit/text/String.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller {

/// The fields of a record, by name.
using Fields = std::map<corekit::String, corekit::String, corekit::Ltstr>;

/// The name of an old key in a new record: the first letter of each word in upper case, words joined
/// ("pkg_total_size" is "PkgTotalSize").
corekit::String FieldName(const corekit::String& key);

// The operations below fail with the reason why a record is not converted, as `WarnUnlessConverted` tells it.

/// Adds a field. Fails when there is one of that name with another text.
Outcome<> AddField(Fields& fields, const corekit::String& name, const corekit::String& text);

/// Reads the entries of the record's one section; there may be none. Skips lines that are no entries of it.
/// Fails when the file cannot be read, is over 16 MiB or has entries but not that section, and when two keys
/// with different values have the same field name.
Outcome<Fields> ReadFields(const corekit::String& path, const corekit::String& section);

/// Reads an XML record; one that is missing is empty. Fails when it cannot be read or is over 16 MiB.
Outcome<corekit::String> ReadXmlRecord(const corekit::String& path);

/// Writes a new record, in one step and as private as the old one. Fails when the text is empty, another
/// record stands there, or it cannot be written. A record with that text is left as it is.
Outcome<> WriteRecord(const corekit::String& path, const corekit::String& text,
                      const corekit::String& oldPath);

/// Renames a file, if it exists, unless the target does. Removes the file if the target is a copy of it, as
/// an upgrade that was cut off leaves one. Fails when the rename fails, or when it is not known whether the
/// target exists.
Outcome<> MoveIfPresent(const corekit::String& from, const corekit::String& to);

/// Writes "WARNING! <path> is not converted: <why>." to standard error after a failure.
void WarnUnlessConverted(const corekit::String& path, const Outcome<>& converted);

/// The same for a whole store that could not be read to its end; one that is missing holds nothing.
void WarnUnlessRead(const corekit::String& store, const corekit::Result& read);

}  // namespace Zorvane::AgentInstaller
