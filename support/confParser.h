// Reader of the server's INI-style files: "[section]" headers and "key = value" lines. The line
// syntax is minimal, and its quirks are relied on by the files that exist.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// One section as it stands in the file.
struct ConfSection {
    using Entry = std::pair<std::string, std::string>;  ///< key and value

    std::string name;
    std::vector<Entry> entries;  ///< once in the parser's list: each key once, sorted bytewise
};

/// A parsed file, held in memory; the file itself is never written. Names and keys are compared
/// exactly. A section name may stand several times in the file: every lookup by name reads the
/// first. Constant operations may run at the same time on several threads, the others not.
class ConfParser {
  public:
    /// Reads the file at `path` in place of what was read before. Returns 0 when it was read to
    /// its end (a read error counts as the end), or -1, with a line on standard error and nothing
    /// held, when it cannot be opened.
    ///
    /// A line is handled in pieces of at most 1023 bytes, each up to its first NUL byte. There are
    /// no comments: a line without '=' is ignored, and entries before the first header are lost.
    /// The line feed stays in the value of "key=value"; a space beside the '=' removes it.
    int parseFile(const std::string& path);

    /// Number of sections, in file order, a repeated name counted each time.
    unsigned getSectionCount() const;

    /// Name of the section at `index`; empty when `index` is not below the count.
    std::string getSectionName(unsigned index) const;

    /// Value of `key` in `section`, up to its first NUL byte; empty when there is none.
    std::string getValue(const std::string& section, const std::string& key) const;

    /// Stores `value` in memory. Returns 0, or -1 when there is no such section.
    int setValue(const std::string& section, const std::string& key, const std::string& value);

    /// True when the section's "Enable" is exactly "TRUE". A section without the key gets it, with
    /// an empty value: dump shows which switches were asked for.
    bool isEnabled(const std::string& section);

    /// Prints every section in file order, its entries in key order, on standard output.
    void dump() const;

  private:
    ConfSection* findSection_(const std::string& name);
    const ConfSection* findSection_(const std::string& name) const;

    std::vector<ConfSection> m_sections;
    /// Place of the first section of each name, so that walking all sections of a large registry
    /// by name takes no time worth mentioning.
    std::unordered_map<std::string, size_t> m_firstOfName;
};
