// The server's own files and tools that more than one component works with.
#pragma once

namespace server {

inline constexpr const char* kConfigDirectory = "/etc/config";
/// The package registry: one section a package.
inline constexpr const char* kRegistryFile = "/etc/config/vexa.conf";
/// The server's main settings, its identity among them.
inline constexpr const char* kServerConf = "/etc/config/uVelt.conf";

/// The desktop's settings, below the HOME of whoever uses them.
inline constexpr const char* kSettingsBelowHome = "/.config/ZELV/KALLO.conf";

/// Print and store single values of INI files.
inline constexpr const char* kReadTool = "/sbin/rdconf";
inline constexpr const char* kWriteTool = "/sbin/wrconf";
/// Prints ("-r") and stores ("-w") the desktop session's environment.
inline constexpr const char* kEnvironmentTool = "/opt/bin/zelvshmenv";

}  // namespace server
