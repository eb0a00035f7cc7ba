// The records of older stores: read as fields, written anew, moved to their new names.
#pragma once

#include <map>

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// The fields of a record, by name.
using Fields = std::map<corekit::String, corekit::String, corekit::Ltstr>;

/// The name of an old key in a new record: the first letter of each word in upper case, words joined
/// ("pkg_total_size" is "PkgTotalSize").
corekit::String FieldName(const corekit::String& key);

/// Adds a field. False when there is one of that name with another text.
bool AddField(Fields& fields, const corekit::String& name, const corekit::String& text);

/// Reads all entries of the record's one section; there may be none. False when not everything that the file
/// holds would become a field: it cannot be read, has entries or a section elsewhere, or two keys have the
/// same name.
bool ReadFields(const corekit::String& path, const corekit::String& section, Fields& fields);

/// Reads an XML record; one that is missing is empty. False when it cannot be read.
bool ReadXmlRecord(const corekit::String& path, corekit::String& text);

/// Writes a new record, in one step and as private as the old one. False when the text is empty, another
/// record stands there, or it cannot be written. A record with that text is left as it is.
bool WriteRecord(const corekit::String& path, const corekit::String& text, const corekit::String& oldPath);

/// Renames a file that exists, unless the target does; where that is a copy of it, as an upgrade leaves that
/// was cut off, the file goes. False when the rename fails, or nobody can tell whether the target is there.
bool MoveIfPresent(const corekit::String& from, const corekit::String& to);

}  // namespace Zorvane::AgentInstaller
