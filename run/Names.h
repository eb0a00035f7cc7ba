// Fixed names and paths: the service, files of an installation and hand-over files.
#pragma once

namespace Zorvane::AgentInstaller::Names {

inline constexpr const wchar_t* kServiceName = L"zorvane";
inline constexpr const wchar_t* kServiceScript = L"/etc/init.d/zorvane";

// Where the package is installed unless it is told otherwise.
inline constexpr const wchar_t* kUsualInstallDir = L"/opt/zorvane/kell/ksagent";

// Where agents of version 5.6 had their tasks when client.conf did not say.
inline constexpr const wchar_t* kUsualTaskDir56 = L"/opt/zorvane/kell/ksagent/var/tasks";

// Below an install directory.
inline constexpr const wchar_t* kClientConf = L"/etc/client.conf";
inline constexpr const wchar_t* kSavedClientConf = L"/etc/client.conf.old";
inline constexpr const wchar_t* kUnfinished = L"/etc/.unfinished";
inline constexpr const wchar_t* kUnmoved = L"/etc/.unmoved";
inline constexpr const wchar_t* kMovedMark = L"/etc/.moved";
inline constexpr const wchar_t* kClientProto = L"/etc/client.proto";
inline constexpr const wchar_t* kEnvironmentScript = L"/bin/qdn-env";
inline constexpr const wchar_t* kControlScript = L"/bin/rcscript";

// The helper program, linked into other binary directories than its own.
inline constexpr const wchar_t* kHelperDir = L"/usr/bin";
inline constexpr const wchar_t* kHelperName = L"qdn-helper";
inline constexpr const wchar_t* kHelperProgram = L"/usr/bin/qdn-helper";

// Hand-over files that package scripts leave for the next run.
inline constexpr const wchar_t* kHandOverDir = L"/tmp/ksclt";
inline constexpr const wchar_t* kMigrateClientConf = L"/tmp/ksclt/.migrate-client.conf";
inline constexpr const wchar_t* kReinstallClientConf = L"/tmp/ksclt/.reinstall-client.conf";

// The inventory solution's configuration, which stands for an agent of version 5.5.
inline constexpr const wchar_t* kInventoryConf = L"/etc/qdn-invsoln/master.cfg";

}  // namespace Zorvane::AgentInstaller::Names
