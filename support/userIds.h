// Numeric ids of users and groups by name. Names must not be null; each call returns the id, or -1
// when there is none of that name. Any thread.
#pragma once

/// From the system's user database, getpwnam(3).
int uid_by_name(const char* name);
/// From the file `path` in the format of passwd(5), letters compared without case; -1 also when the
/// file cannot be opened.
int uid_by_name_in_file(const char* name, const char* path);
/// From the system's group database, getgrnam(3).
int gid_by_name(const char* name);
