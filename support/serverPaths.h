// The server's own files and tools that more than one component works with.
#pragma once

namespace server {

inline constexpr const char* kConfigDirectory = "/etc/config";
/// The package registry: one section a package.
inline constexpr const char* kRegistryFile = "/etc/config/vexa.conf";
/// The server's main settings, its identity among them.
inline constexpr const char* kServerConf = "/etc/config/uVelt.conf";

/// What the server tells of itself.
inline constexpr const char* kPlatformConf = "/etc/platform.conf";
/// Accounts: the server's own, and the system's copy of the passwords.
inline constexpr const char* kShadow = "/etc/config/shadow";
inline constexpr const char* kGroup = "/etc/config/group";
inline constexpr const char* kSystemShadow = "/etc/shadow";

/// The desktop's settings, below the HOME of whoever uses them.
inline constexpr const char* kSettingsBelowHome = "/.config/ZELV/KALLO.conf";

/// Print and store single values of INI files.
inline constexpr const char* kReadTool = "/sbin/rdconf";
inline constexpr const char* kWriteTool = "/sbin/wrconf";
/// Lists the windows.
inline constexpr const char* kWindowTool = "/usr/bin/wmctrl";
/// Prints ("-r") and stores ("-w") the desktop session's environment.
inline constexpr const char* kEnvironmentTool = "/opt/bin/zelvshmenv";

// The agent's own, where others look for them

/// The number of its process.
inline constexpr const char* kRunDirectory = "/var/run/kalloagent";
inline constexpr const char* kPidFile = "/var/run/kalloagent/kalloagent.pid";
/// Takes the requests to start and stop services.
inline constexpr const char* kServicePipe = "/tmp/Torvik.ServicePipe";
inline constexpr const char* kCrashReport = "/var/log/kalloagent.core";
/// The stored password, for the desktop.
inline constexpr const char* kHandOverDirectory = "/usr/share/.kallo";
inline constexpr const char* kHandOverFile = "/usr/share/.kallo/.kallopw.log";

}  // namespace server
