// Reader of the server's INI-style files: "[section]" headers and "key = value" lines. The line
// syntax is minimal, and its quirks are relied on by the files that exist.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// One "key = value" line, as a view of the file's text.
struct ConfEntry {
    std::string_view key;
    std::string_view value;
};

/// One section of a file. Its entries are `count` lines from the line `first` on, of which the last
/// one counts where a key is repeated. Sections of one header share the lines.
struct ConfSection {
    std::string_view name;
    size_t first;
    size_t count;
};

/// A parsed file, held in memory; the file itself is never written. Names and keys are compared
/// exactly. A section name may stand several times in the file: every lookup by name reads the
/// first. Constant operations may run at the same time on several threads, the others not.
class ConfParser {
  public:
    ConfParser() = default;
    ConfParser(const ConfParser&) = delete;
    ConfParser& operator=(const ConfParser&) = delete;

    /// Reads the file at `path` in place of what was read before. Returns 0 when it was read to
    /// its end (a read error counts as the end), or -1, with a line on standard error and nothing
    /// held, when it cannot be opened or is no regular file. Throws std::bad_alloc when memory is
    /// lacking. Time and memory grow with the file's length, whatever stands in it.
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
    /// The first section of a name, which lookups read and changes go to: each key once, sorted
    /// bytewise.
    struct First {
        size_t index;
        std::vector<ConfEntry> entries;
    };

    void readPiece_(std::string_view piece);
    void readHeader_(std::string_view header);
    void listSection_();
    std::vector<ConfEntry> entriesOf_(const ConfSection& section) const;
    std::string_view& valueOf_(First& section, std::string_view key);

    std::string m_text;  ///< of the file; names, keys and values are views of it or of m_stored
    std::deque<std::string> m_stored;  ///< what was set since
    std::vector<ConfEntry> m_lines;    ///< of all sections, in file order
    std::vector<ConfSection> m_sections;
    std::unordered_map<std::string_view, First> m_firstOfName;
    std::string_view m_name;  ///< of the section being read
    size_t m_firstLine = 0;   ///< of that section
};
