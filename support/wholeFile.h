// Small files as a whole: opening one only if it is a file, reading all of it, replacing it in one
// step. Whoever reads a configuration file or writes one that others read goes through here.
#pragma once

#include <fcntl.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "support/handles.h"

namespace support {

/// True when `path`, links followed, is a regular file (stat(2)).
bool isRegularFile(const char* path) noexcept;

/// True when something else than a regular file stands at `path`, links followed: a pipe, a device,
/// a directory, which may block whoever opens or reads it. False also when nothing stands there.
/// For files that a library or a tool is about to open itself.
bool mayBlock(const char* path) noexcept;

/// Opens the regular file at `path` with the `flags` of open(2), close-on-exec and without ever
/// waiting; with O_CREAT a missing one is made with `mode`. Returns none, with errno set, when it
/// cannot be opened, and when it is something else, which is not even touched (EINVAL). Any thread.
Descriptor openRegularFile(const char* path, int flags = O_RDONLY, mode_t mode = 0) noexcept;

/// The same as a stream for reading; null on failure.
Stream openRegularStream(const char* path) noexcept;

/// Reads on to the end of `file`, up to `limit` bytes in all, and appends to `text`. Returns false,
/// with errno set and `text` as far as it came, when a read fails. Throws std::bad_alloc.
bool readToEnd(const Descriptor& file, std::string& text, size_t limit = SIZE_MAX);

/// Returns the content of the regular file at `path`, at most its first `limit` bytes. Nothing,
/// with errno set, when it is none, cannot be opened or read, or memory is lacking (ENOMEM). Any
/// thread.
std::optional<std::string> readWholeFile(const std::string& path, size_t limit = SIZE_MAX) noexcept;

/// Makes `bytes` the content of the file at `path` in one step (a temporary file in the same
/// directory, fsync(2), rename(2)), so that a reader never meets half of it. A link stays a link
/// and its target is replaced; an existing file keeps its mode and owner; a new one gets 0666 less
/// the umask. Returns false, with errno set, the file untouched and nothing left behind, when any
/// step fails. One thread at a time: the umask is looked up by setting it.
bool replaceWholeFile(const std::string& path, std::string_view bytes);

}  // namespace support

/// Creates an empty file of a new name, mode 0600: replaces the last six characters of
/// `pathTemplate`, "XXXXXX", as mkstemp(3) does. Returns 0, or -1 for a null template and when no
/// file could be created.
int make_temp_file(char* pathTemplate);
