// How the keys of client.conf relate: an older agent's key, the key of today and the setting that feeds it.
#pragma once

#include <span>

#include "run/Keys.h"

namespace Zorvane::AgentInstaller {

/// How a setting is written into client.conf.
enum class ValueKind : int {
    None = 0,          // not fed from a setting, only carried over
    YesNo = 1,         // "yes" or "no"
    OneZero = 2,       // "1" or "0"
    FreeText = 3,      // as it stands, but "null" and "none" are written empty
    Path = 4,          // macros expanded, absolute; an empty one is "/"
    OptionalPath = 5,  // the same, but an empty one stays empty
};

/// One row: `newKey` takes the value that an older file has under `oldKey`, and then the setting's.
struct ClientConfKey {
    ConfKey oldKey;
    ConfKey newKey;
    SettingName setting;  // none where no setting feeds the key
    ValueKind kind;
    bool isPath;  // may lie below the old install directory
};

/// Free text as client.conf has it: "null" and "none" stand for nothing.
corekit::String FreeText(const corekit::String& value);

/// All 109 rows, in the order in which they are carried: where two write the same new key, the later one
/// wins.
std::span<const ClientConfKey> ClientConfKeyMap();

}  // namespace Zorvane::AgentInstaller
