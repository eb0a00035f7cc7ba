// Exact texts that more than one place needs.
#pragma once

namespace Zorvane::AgentInstaller::Texts {

// The beginnings of errors; the path follows.
inline constexpr const wchar_t* kUnreadableFile = L"Missing or unreadable file in install. File: ";
inline constexpr const wchar_t* kUnwritableFile = L"Unable to write to file: ";

inline constexpr const wchar_t* kUnreadableConfiguration = L"Failed to read configuration files.";

}  // namespace Zorvane::AgentInstaller::Texts
