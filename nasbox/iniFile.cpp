#include "nasbox/iniFile.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <sstream>

#include "support/wholeFile.h"

namespace {

/// The name in a header line, empty for "[]" and for a header that is never closed (it ends the
/// section before it all the same); nothing for any other line.
std::optional<std::string_view> headerName(std::string_view line) {
    const size_t bracket = line.find_first_not_of(' ');
    if (bracket == std::string_view::npos || line[bracket] != '[') {
        return std::nullopt;
    }
    const std::string_view rest = line.substr(bracket + 1);
    const size_t close = rest.find(']');
    return close == std::string_view::npos ? std::string_view() : rest.substr(0, close);
}

/// The key of a "key = value" line; one blank before the "=" belongs to the sign.
std::optional<std::string_view> lineKey(std::string_view line) {
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return std::nullopt;
    }
    line = line.substr(0, equals);
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    if (!line.empty() && line.back() == ' ') {
        line.remove_suffix(1);
    }
    return line;
}

std::string_view lineValue(std::string_view line) {
    line.remove_prefix(line.find('='));
    line.remove_prefix(std::min(line.find_first_not_of("= "), line.size()));
    return line;
}

/// An error text when a reader would not find the words again, else null.
const char* refusal(std::string_view section, std::string_view key, std::string_view value) {
    const std::string_view lineEnds("\n\0", 2);
    if (section.empty() || key.empty()) {
        return "the section and the key must not be empty";
    }
    if (section.find_first_of(lineEnds) != section.npos ||
        key.find_first_of(lineEnds) != key.npos || value.find_first_of(lineEnds) != value.npos) {
        return "a line feed cannot be stored";
    }
    if (section.find(']') != section.npos) {
        return "a section name cannot hold \"]\"";
    }
    if (key.find('=') != key.npos || key.front() == ' ' || key.front() == '[') {
        return "a key cannot hold \"=\", nor begin with a blank or \"[\"";
    }
    if (!value.empty() && (value.front() == ' ' || value.front() == '=')) {
        return "a value cannot begin with a blank or \"=\"";
    }
    if (key.size() + 3 + value.size() > IniFile::kLongestLine ||
        section.size() + 2 > IniFile::kLongestLine) {
        return "the line would be longer than 1022 bytes";
    }
    return nullptr;
}

}  // namespace

int IniFile::load(const std::string& path) {
    m_lines.clear();
    const auto text = support::readWholeFile(path);
    if (!text) {
        return errno == ENOENT ? 0 : -1;
    }
    std::istringstream file(*text);
    for (std::string line; std::getline(file, line);) {
        m_lines.push_back(line);
    }
    return 0;
}

std::optional<std::string> IniFile::value(std::string_view section, std::string_view key) const {
    const std::optional<Section> place = findSection_(section);
    const std::optional<size_t> line = place ? findKey_(*place, key) : std::nullopt;
    return line ? std::optional(std::string(lineValue(m_lines[*line]))) : std::nullopt;
}

const char* IniFile::set(std::string_view section, std::string_view key, std::string_view value) {
    if (const char* reason = refusal(section, key, value)) {
        return reason;
    }
    const std::string line = std::string(key) + " = " + std::string(value);
    const std::optional<Section> place = findSection_(section);
    if (!place) {
        if (!m_lines.empty() && !m_lines.back().empty()) {
            m_lines.emplace_back();
        }
        m_lines.push_back("[" + std::string(section) + "]");
        m_lines.push_back(line);
        return nullptr;
    }
    if (const std::optional<size_t> old = findKey_(*place, key)) {
        m_lines[*old] = line;
        return nullptr;
    }
    // Blank lines at the end of a section set it off from the next one; they stay behind the key.
    size_t end = place->end;
    while (end > place->begin && m_lines[end - 1].empty()) {
        --end;
    }
    m_lines.insert(m_lines.begin() + static_cast<ptrdiff_t>(end), line);
    return nullptr;
}

int IniFile::save(const std::string& path) const {
    std::string text;
    for (const std::string& line : m_lines) {
        text += line + '\n';
    }
    return support::replaceWholeFile(path, text) ? 0 : -1;
}

std::optional<IniFile::Section> IniFile::findSection_(std::string_view name) const {
    std::optional<Section> found;
    for (size_t i = 0; i < m_lines.size(); ++i) {
        const std::optional<std::string_view> header = headerName(m_lines[i]);
        if (header && found) {
            found->end = i;
            return found;
        }
        if (header == name && !name.empty()) {
            found = Section{i + 1, m_lines.size()};
        }
    }
    return found;
}

std::optional<size_t> IniFile::findKey_(const Section& section, std::string_view key) const {
    for (size_t i = section.end; i > section.begin; --i) {
        if (lineKey(m_lines[i - 1]) == key) {
            return i - 1;
        }
    }
    return std::nullopt;
}
