// How the keys of client.conf relate: an older agent's key, the key of today and the setting that feeds it.
#pragma once

#include <algorithm>
#include <compare>
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

/// A key of client.conf, written "Section/key" in the table; without a "/" the key is empty.
struct KeyPath {
    constexpr explicit KeyPath(std::wstring_view path)
        : section(path.substr(0, path.find(L'/'))),
          key(path.substr(std::min(section.size() + 1, path.size()))) {}

    constexpr auto operator<=>(const KeyPath&) const = default;

    std::wstring_view section;
    std::wstring_view key;
};

/// One row: `newKey` takes the value that an older file has under `oldKey`, and then the setting's.
struct ClientConfKey {
    KeyPath oldKey;
    KeyPath newKey;
    std::wstring_view setting;  // empty: none
    ValueKind kind;
    bool isPath;  // may lie below the old install directory
};

/// All 109 rows, in the order in which they are carried: where two write the same new key, the later one
/// wins.
std::span<const ClientConfKey> ClientConfKeyMap();

}  // namespace Zorvane::AgentInstaller
