// The package registry: the file of all installed packages, one section each, and the server's
// tool that reads single values of it.
#pragma once

inline constexpr char kRegistryFile[] = "/etc/config/vexa.conf";
inline constexpr char kReadTool[] = "/sbin/rdconf";
