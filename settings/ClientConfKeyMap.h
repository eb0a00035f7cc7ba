// How the keys of client.conf relate: an older agent's key, the key of today and the setting that feeds it.
#pragma once

#include <span>
#include <string_view>

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

/// One row. Keys have the form "Section/key".
struct ClientConfKey {
    std::wstring_view oldKey;
    std::wstring_view newKey;
    std::wstring_view setting;  // empty: none
    ValueKind kind;
    bool isPath;  // may lie below the old install directory
};

/// All 109 rows, in the order in which they are carried: where two write the same new key, the later one
/// wins.
std::span<const ClientConfKey> ClientConfKeyMap();

}  // namespace Zorvane::AgentInstaller
