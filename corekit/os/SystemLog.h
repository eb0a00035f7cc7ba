// The host's log: one entry goes to the journal or to the syslog daemon, or nowhere.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace corekit::SystemLog {

/// A field of an entry for the journal, "NAME=value" or, for a value with line ends, its length and bytes. At
/// most 4096 bytes of the value go in.
std::string Field(std::string_view name, std::string_view value);

/// Sends an entry, whose fields stand in the pieces one after the other, to the journal; of more than eight
/// pieces the rest is left out. Returns false when no journal took it. Does not block, raises no signal and
/// is async-signal-safe.
bool ToJournal(std::span<const std::string_view> pieces);

/// The same for a line of text, which begins with its priority as in "<30>", and the syslog daemon.
bool ToSyslog(std::span<const std::string_view> pieces);

}  // namespace corekit::SystemLog
