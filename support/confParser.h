// Reader of the server's INI-style files: "[section]" headers and "key = value" lines. The line
// syntax is minimal, and its quirks are relied on by the files that exist.
#pragma once

#include <string>

class ConfParser {
  public:
    int parseFile(const std::string& path);
    unsigned getSectionCount() const;
    std::string getSectionName(unsigned index) const;
    std::string getValue(const std::string& section, const std::string& key) const;
    int setValue(const std::string& section, const std::string& key, const std::string& value);
    bool isEnabled(const std::string& section);
    void dump() const;
};
