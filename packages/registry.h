// The package registry: where the server keeps the file of all installed packages, one section
// each, and the server's tool that reads single values of it.
#pragma once

namespace packages {

inline constexpr const char* kRegistryDirectory = "/etc/config";
inline constexpr const char* kRegistryName = "vexa.conf";
inline constexpr const char* kRegistryFile = "/etc/config/vexa.conf";
inline constexpr const char* kReadTool = "/sbin/rdconf";

}  // namespace packages
