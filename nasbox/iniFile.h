// Text-preserving editor of the NAS's INI files, for rdconf and wrconf. Lines are understood as
// ConfParser (support/confParser.h) understands them, so what wrconf writes is what it reads.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One INI file in memory, line by line as it stands. Not thread-safe; each tool owns one.
class IniFile {
  public:
    /// Longest line, in bytes without its line feed, that every reader takes in one piece.
    static constexpr size_t kLongestLine = 1022;

    /// Reads `path`, replacing the content. A file that does not exist is an empty one. Returns 0,
    /// or -1 with errno set when the file exists and cannot be read.
    int load(const std::string& path);

    /// Returns the value of `key` in the first section named `section` (its last line for the key
    /// counts), without line feed; nothing when there is no such section or key.
    std::optional<std::string> value(std::string_view section, std::string_view key) const;

    /// Sets the value, leaving every other line as it is: the line that `value` reads is replaced;
    /// a new key goes to the end of its section, a new section to the end of the file. Returns
    /// null, or a text that says why readers could not get these words back (nothing is changed).
    const char* set(std::string_view section, std::string_view key, std::string_view value);

    /// Replaces `path`, which may be a link, by the content in one step (a temporary file in the
    /// same directory, fsync(2), rename(2)), with the mode and owner of the old file; a new file
    /// gets mode 0644 under the umask. Returns 0, or -1 with errno set and the old file untouched.
    int save(const std::string& path) const;

  private:
    /// Where the first section of a name stands: [begin, end) of its lines behind the header.
    struct Section {
        size_t begin;
        size_t end;
    };
    std::optional<Section> findSection_(std::string_view name) const;
    std::optional<size_t> findKey_(const Section& section, std::string_view key) const;

    std::vector<std::string> m_lines;
};
